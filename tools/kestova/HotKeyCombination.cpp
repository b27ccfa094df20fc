// SPDX-License-Identifier: Apache-2.0
#include "HotKeyCombination.h"

#include <KestovaPlatform/ASCIICase.h>
#include <KestovaPlatform/NSEvent.h>
#include <KestovaPlatform/VirtualKeys.h>

#include <algorithm>
#include <array>
#include <optional>
#include <stdexcept>

namespace kestova::tool {
namespace {

struct ModifierName {
  const char* name;
  NSUInteger flag;
  std::uint32_t modifier;
};

constexpr std::array kModifierNames = {
    ModifierName{"Control", NSControlKeyMask, controlKey},
    ModifierName{"Ctrl", NSControlKeyMask, controlKey},
    ModifierName{"Alt", NSAlternateKeyMask, optionKey},
    ModifierName{"Option", NSAlternateKeyMask, optionKey},
    ModifierName{"Shift", NSShiftKeyMask, shiftKey},
    ModifierName{"Super", NSCommandKeyMask, cmdKey},
    ModifierName{"Command", NSCommandKeyMask, cmdKey},
};

std::optional<NSUInteger> flagNamed(const std::string& name) {
  const auto* found =
      std::find_if(kModifierNames.begin(), kModifierNames.end(),
                   [&](const ModifierName& one) { return isSameButForCase(one.name, name); });
  return found == kModifierNames.end() ? std::nullopt : std::optional(found->flag);
}

std::uint32_t serviceModifiers(NSUInteger flags) {
  std::uint32_t modifiers = 0;
  for (const ModifierName& one : kModifierNames) {
    modifiers |= (flags & one.flag) != 0 ? one.modifier : 0;
  }
  return modifiers;
}

}  // namespace

HotKeyCombination::HotKeyCombination(const std::string& text) : text_(text) {
  std::size_t start = 0;
  for (std::size_t plus; (plus = text.find('+', start)) != std::string::npos; start = plus + 1) {
    const std::string name = text.substr(start, plus - start);
    const auto flag = flagNamed(name);
    if (!flag) {
      throw std::invalid_argument(text + ": there is no modifier key \"" + name + "\"");
    }
    modifierFlags_ |= *flag;
  }
  const std::string name = text.substr(start);
  if (flagNamed(name)) {
    throw std::invalid_argument(text + ": modifier keys alone are no hot key");
  }
  const auto code = VirtualKeyCodeForName(name);
  if (!code) {
    throw std::invalid_argument(text + ": there is no key \"" + name + "\" (see --list-keys)");
  }
  keyCode_ = *code;
}

OSStatus HotKeyCombination::availability() const {
  constexpr EventHotKeyID kProbe{0x70726f62, 0};  // 'prob'
  EventHotKeyRef hotKey = nullptr;
  const OSStatus status =
      RegisterEventHotKey(static_cast<std::uint32_t>(keyCode_), serviceModifiers(modifierFlags_),
                          kProbe, GetEventDispatcherTarget(), 0, &hotKey);
  if (status == noErr) {
    UnregisterEventHotKey(hotKey);
  }
  return status;
}

}  // namespace kestova::tool
