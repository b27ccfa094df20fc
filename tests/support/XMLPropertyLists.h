// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include "PropertyLists.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace kestova::testing {

/// A document with the value, which is XML as well, at its top.
inline std::string document(std::string_view value) {
  return "<plist version=\"1.0\">" + std::string(value) + "</plist>";
}

/// Reads XML: the value at its top, or nothing and what is wrong with it.
inline PropertyListOutcome<id> readXML(std::string_view text) {
  auto outcome = readPropertyList(text);
  EXPECT_EQ(outcome.code, outcome.value ? 0 : 3840);
  return outcome;
}

inline std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  for (; count > 0; --count) {
    result += text;
  }
  return result;
}

/// Every kind of value, as people and other programs write it.
inline constexpr std::string_view kWholeDocument =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Example//DTD PLIST 1.0//EN" "http://example.org/PropertyList-1.0.dtd">
<plist version="1.0">
<!-- settings -->
<dict>
  <key>Name</key>     <string>Grüße &amp; &#x1F600; &lt;<![CDATA[<b>]]></string>
  <key>Sizes</key>    <array><integer>1</integer><real>2.5</real></array>
  <key>Shown</key>    <true/>
  <key>Hidden</key>   <false></false>
  <key>Made</key>     <date>2001-01-01T00:00:05Z</date>
  <key>Bytes</key>    <data>
    AQID
    /w==
  </data>
  <key>Nothing</key>  <dict/>
</dict>
</plist>
)";

}  // namespace kestova::testing
