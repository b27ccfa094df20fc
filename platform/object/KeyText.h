// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>

#include <string>
#include <string_view>

namespace kestova {

/// A key as UTF-8, by which properties and observers are looked up: the string's own memory where
/// it is ASCII. Keys that are no text (with unpaired surrogates) have a form of their own that is
/// no UTF-8, so that no two keys are the same. The string must outlive it.
class KeyText {
 public:
  explicit KeyText(const Ref<NSString>& key) {
    if (const char* ascii = key->eightBitCharacters()) {
      text_ = {ascii, key->length()};
    } else {
      made_ = key->UTF8String().value_or("");
      text_ = made_.empty() && key->length() != 0 ? rawText(*key) : std::string_view(made_);
    }
  }
  KeyText(const KeyText&) = delete;
  KeyText& operator=(const KeyText&) = delete;

  operator std::string_view() const noexcept { return text_; }

 private:
  std::string_view rawText(const NSString& key) {
    made_ = "\xFF";
    for (NSUInteger index = 0; index < key.length(); ++index) {
      const unichar unit = key.characterAtIndex(index);
      made_ += static_cast<char>(unit >> 8);
      made_ += static_cast<char>(unit);
    }
    return made_;
  }

  std::string made_;
  std::string_view text_;
};

/// Where the first key of a path ends; NSNotFound when the path is one key.
inline NSUInteger endOfFirstKey(const Ref<NSString>& keyPath) {
  if (const char* ascii = keyPath->eightBitCharacters()) {
    const auto dot = std::string_view(ascii, keyPath->length()).find('.');
    return dot == std::string_view::npos ? NSNotFound : dot;
  }
  return keyPath->rangeOfString(".").location;
}

}  // namespace kestova
