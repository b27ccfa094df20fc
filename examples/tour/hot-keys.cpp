// SPDX-License-Identifier: Apache-2.0
// hot-keys: takes a key combination on the whole desktop, looks at it, and gives it back.
#include <KestovaFoundation/OVHotKeyCenter.h>
#include <KestovaPlatform/NSEvent.h>
#include <KestovaPlatform/VirtualKeys.h>

#include <iostream>

using namespace kestova;

constexpr NSUInteger kControlAlt = NSControlKeyMask | NSAlternateKeyMask;

Ref<OVHotKey> take(const char* key, NSUInteger modifierFlags) {
  return OVHotKeyCenter::sharedHotKeyCenter()->registerHotKeyWithKeyCode_modifierFlags_handler(
      VirtualKeyCodeForName(key).value(), modifierFlags,
      [](const Ref<OVHotKey>& hotKey, const Ref<NSEvent>&) {
        std::cout << "released: " << VirtualKeyName(hotKey->keyCode()) << '\n';
      });
}

int main() {
  const auto centre = OVHotKeyCenter::sharedHotKeyCenter();
  const auto hotKey = take("K", kControlAlt);
  if (!hotKey) {
    std::cerr << "Control+Alt+K belongs to another program, or there is no desktop\n";
    return 1;
  }
  // A combination is taken once; with another modifier it is another one.
  std::cout << "again: " << (take("K", kControlAlt) ? "yes" : "no") << '\n'
            << "with Shift: " << (take("K", kControlAlt | NSShiftKeyMask) ? "yes" : "no") << '\n'
            << "hot keys: " << centre->registeredHotKeys()->count() << '\n';

  // Here a program runs the main run loop, which calls the handlers:
  // NSRunLoop::mainRunLoop()->run();

  centre->unregisterHotKey(hotKey);
  centre->unregisterHotKeyWithKeyCode_modifierFlags(hotKey->keyCode(),
                                                    kControlAlt | NSShiftKeyMask);
  std::cout << "left: " << centre->registeredHotKeys()->count() << '\n';
}
