// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace kestova::bench {

/// A key of 21 ASCII characters.
inline std::string keyText(std::size_t number) {
  char text[32];
  std::snprintf(text, sizeof text, "key-%017zu", number * 7919);
  return text;
}

/// The keys of the first numbers, as one library has its strings.
template <class Key>
std::vector<Key> keysOf(std::size_t count) {
  std::vector<Key> keys;
  for (std::size_t number = 0; number < count; ++number) {
    if constexpr (std::is_same_v<Key, QString>) {
      keys.push_back(QString::fromStdString(keyText(number)));
    } else {
      keys.push_back(Key(keyText(number)));
    }
  }
  return keys;
}

/// The same keys as other objects, in a random order: what a program asks with.
template <class Key>
std::vector<Key> askedKeysOf(std::size_t count) {
  auto keys = keysOf<Key>(count);
  std::shuffle(keys.begin(), keys.end(), std::mt19937(7));
  return keys;
}

}  // namespace kestova::bench
