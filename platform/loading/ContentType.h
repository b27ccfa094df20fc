// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace kestova {

/// What a Content-Type field tells; each is empty where it tells nothing.
struct ContentType {
  /// In small letters.
  std::string type;
  /// As it is spelled, without quotes.
  std::string charset;

  /// Takes what it can from any text.
  static ContentType parse(std::string_view field);
};

}  // namespace kestova
