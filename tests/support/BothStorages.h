// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSString.h>

#include <string>
#include <string_view>
#include <vector>

namespace kestova::testing {

/// The text as its maker would keep it and in UTF-16 storage: the same to every operation.
inline std::vector<Ref<NSString>> inBothStorages(std::u16string_view text) {
  return {NSString::stringWithCharacters_length(text.data(), text.size()),
          NSString::stringWithUTF16Storage(std::u16string(text))};
}

/// Runs `check` for a text in each storage.
template <class Check>
void forBothStorages(std::u16string_view text, Check&& check) {
  for (const auto& string : inBothStorages(text)) {
    check(string);
  }
}

/// Runs `check` for two texts in each pair of storages.
template <class Check>
void forBothStorages(std::u16string_view first, std::u16string_view second, Check&& check) {
  forBothStorages(first, [&](const Ref<NSString>& a) {
    forBothStorages(second, [&](const Ref<NSString>& b) { check(a, b); });
  });
}

/// The units of an array's strings, for comparing with literals.
inline std::vector<std::u16string> unitsOf(const Ref<NSArray>& strings) {
  std::vector<std::u16string> result;
  for (const id& string : strings) {
    result.push_back(cast<NSString>(string)->utf16());
  }
  return result;
}

}  // namespace kestova::testing
