// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kestova::tool {

/// A sum of 32 lower-case hex digits, and the name of the file that has it.
struct ListedChecksum {
  std::string sum;
  std::string name;
};

/// The line that md5sum prints: sum, two blanks, name. Line ends and backslashes in a name are
/// written with a backslash, and the line then begins with one.
std::string checksumLine(const std::string& sum, const std::string& name);

/// Reads a list of such lines, one after the other. Lines of the form "MD5 (NAME) = SUM" may be
/// among them, and in a list whose first line has but one blank all lines are taken to be so.
class ChecksumListReader {
 public:
  /// What a line holds, given without its line feed; nothing for one of another form.
  std::optional<ListedChecksum> read(std::string_view line);

 private:
  enum class Separator { kUnknown, kBlankAndMark, kOneBlank };

  /// Where the name stands in "SUM  NAME", or "SUM *NAME" for a file that was read as it is.
  std::optional<std::string_view> nameBehindSum(std::string_view line);

  Separator separator_ = Separator::kUnknown;
};

/// The name as reports of a check show it: as it is, unless it has several lines.
std::string shownName(const std::string& name);

}  // namespace kestova::tool
