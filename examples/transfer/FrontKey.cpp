// SPDX-License-Identifier: Apache-2.0
#include "FrontKey.h"

#include "WindowFront.h"

#include <KestovaFoundation/OVHotKeyCenter.h>
#include <KestovaPlatform/NSEvent.h>
#include <KestovaPlatform/VirtualKeys.h>

using namespace kestova;

FrontKey::FrontKey(QWidget& window)
    : hotKey_(OVHotKeyCenter::sharedHotKeyCenter()->registerHotKeyWithKeyCode_modifierFlags_handler(
          *VirtualKeyCodeForName("K"), NSControlKeyMask | NSAlternateKeyMask,
          [&window](const auto&, const auto&) { bringToFront(window); })) {}

FrontKey::~FrontKey() {
  if (hotKey_) {
    OVHotKeyCenter::sharedHotKeyCenter()->unregisterHotKey(hotKey_);
  }
}

QString FrontKey::hint() const {
  return hotKey_ ? tr("Ctrl+Alt+K brings this window to the front.")
                 : tr("Ctrl+Alt+K belongs to another program or window.");
}
