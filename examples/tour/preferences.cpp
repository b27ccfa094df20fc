// SPDX-License-Identifier: Apache-2.0
// preferences: settings of two programs that belong together, seen from one of them.
#include <KestovaFoundation/Additions/NSUserDefaultsAdditions.h>
#include <KestovaFoundation/OVUserDefaults.h>
#include <KestovaPlatform/NSBundle.h>

#include <iostream>

using namespace kestova;

constexpr const char* kEditor = "org.kestova.examples.Editor";
constexpr const char* kViewer = "org.kestova.examples.Viewer";

int main() {
  NSBundle::declareMainBundleIdentifier(kViewer);
  OVUserDefaults::install();
  const auto defaults = NSUserDefaults::standardUserDefaults();
  registerDefaults_inSuite(defaults, NSDictionary::of({{"tabWidth", 8}, {"wraps", true}}), kEditor);
  defaults->registerDefaults(NSDictionary::of({{"tabWidth", 4}}));
  defaults->addSuiteNamed(kEditor);  // look-ups find the editor's settings as well

  // What is registered: this program's own first, the editor's where it is asked for by name.
  std::cout << defaults->integerForKey("tabWidth") << ' '
            << integerForKey_inSuite(defaults, "tabWidth", kEditor) << '\n';

  // What is set comes before what is registered; all programs hear of it.
  setInteger_forKey_inSuite(defaults, 2, "tabWidth", kEditor);
  std::cout << defaults->integerForKey("tabWidth") << ' '
            << integerForKey_inSuite(defaults, "tabWidth", kEditor) << '\n';

  // The file alone: what is registered doesn't count.
  std::cout << (objectForKey_inPersistentDomain(defaults, "wraps", kEditor) ? "set" : "not set")
            << '\n';

  removeObjectForKey_inSuite(defaults, "tabWidth", kEditor);  // not told to others
  std::cout << integerForKey_inSuite(defaults, "tabWidth", kEditor) << '\n';
  defaults->removeSuiteNamed(kEditor);
}
