// SPDX-License-Identifier: Apache-2.0
// palette [THEME]: a companion of painter. Tells painter's theme, and each change of it; with a
// theme it sets that and ends.
#include "Painter.h"

#include <KestovaFoundation/Additions/NSUserDefaultsAdditions.h>
#include <KestovaFoundation/OVUserDefaults.h>
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSNotificationCenter.h>
#include <KestovaPlatform/NSRunLoop.h>

#include <iostream>

using namespace kestova;

void tellTheme() {
  const auto defaults = NSUserDefaults::standardUserDefaults();
  std::cout << cast<NSString>(objectForKey_inSuite(defaults, kTheme, kPainter)) << std::endl;
}

int main(int argc, char** argv) {
  NSBundle::declareMainBundleIdentifier("org.kestova.examples.Palette");
  OVUserDefaults::install();
  const auto defaults = NSUserDefaults::standardUserDefaults();
  registerDefaults_inSuite(defaults, NSDictionary::of({{kTheme, "light"}}), kPainter);

  if (argc > 1) {
    setObject_forKey_inSuite(defaults, argv[1], kTheme, kPainter);
    return 0;
  }

  defaults->addSuiteNamed(kPainter);
  const id observer =
      NSNotificationCenter::defaultCenter()->addObserverForName_object_queue_usingBlock(
          NSUserDefaultsSuiteDidChangeNotification, nullptr, nullptr,
          [defaults](const Ref<NSNotification>&) {
            // What another palette wrote counts as this program's own, and isn't read by itself.
            defaults->synchronize();
            tellTheme();
          });
  tellTheme();
  NSRunLoop::mainRunLoop()->run();
  NSNotificationCenter::defaultCenter()->removeObserver(observer.get());
}
