// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/TextScanning.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace kestova::tool {

/// Where a place in a text is, as people count: lines and characters from 1. LF, CR and CR LF each
/// end a line.
class TextPosition {
 public:
  /// Goes on behind the units, which begin and end with whole characters.
  void advance(std::u16string_view units);

  std::uint64_t line() const { return 1 + lfs_.count() + crs_.count() - pairs_.count(); }
  std::uint64_t column() const { return column_; }

 private:
  LineEndingCounter lfs_{LineEnding::LF};
  LineEndingCounter crs_{LineEnding::CR};
  LineEndingCounter pairs_{LineEnding::CRLF};
  std::uint64_t column_ = 1;
};

/// Gives every line of a text that comes in pieces the same ending.
class LineEndings {
 public:
  explicit LineEndings(std::u16string_view ending) : ending_(ending) {}

  /// The units with their endings replaced. Valid until the next call.
  std::u16string_view replaced(std::u16string_view units);

 private:
  std::u16string ending_;
  std::u16string result_;
  bool isBehindCR_ = false;
};

}  // namespace kestova::tool
