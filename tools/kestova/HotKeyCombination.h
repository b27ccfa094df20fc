// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/HotKeyEvents.h>
#include <KestovaPlatform/NSTypes.h>

#include <string>

namespace kestova::tool {

/// A key combination as people write it: "Control+Alt+K". The case of names doesn't matter.
class HotKeyCombination {
 public:
  /// Throws std::invalid_argument, with one line for a person, for what is no combination.
  explicit HotKeyCombination(const std::string& text);

  /// As it was written.
  const std::string& text() const { return text_; }
  NSUInteger keyCode() const { return keyCode_; }
  NSUInteger modifierFlags() const { return modifierFlags_; }

  /// What the system would answer to a program that wants it now. It is not kept.
  OSStatus availability() const;

 private:
  std::string text_;
  NSUInteger keyCode_ = 0;
  NSUInteger modifierFlags_ = 0;
};

}  // namespace kestova::tool
