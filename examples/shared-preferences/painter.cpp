// SPDX-License-Identifier: Apache-2.0
// painter [THEME]: the program that the preferences belong to. Sets the theme, or tells it.
#include "Painter.h"

#include <KestovaFoundation/OVUserDefaults.h>
#include <KestovaPlatform/NSBundle.h>

#include <iostream>

using namespace kestova;

int main(int argc, char** argv) {
  NSBundle::declareMainBundleIdentifier(kPainter);
  OVUserDefaults::install();
  const auto defaults = NSUserDefaults::standardUserDefaults();
  defaults->registerDefaults(NSDictionary::of({{kTheme, "light"}}));
  defaults->addSuiteNamed(kPainter);

  if (argc > 1) {
    defaults->setObject_forKey(argv[1], kTheme);
  }
  std::cout << defaults->stringForKey(kTheme) << std::endl;
}
