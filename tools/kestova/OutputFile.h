// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Descriptor.h"

#include <sys/stat.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kestova::tool {

/// A new file that has not taken its name yet: removed when it goes, and when a signal ends the
/// process. There is one at a time.
class UnfinishedFile {
 public:
  UnfinishedFile() = default;
  ~UnfinishedFile();
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

  bool exists() const { return !name_.empty(); }

  /// Makes it in the folder of `path`, for its owner alone. Answers nothing and leaves the error
  /// number in errno when that fails.
  Descriptor createBeside(const std::string& path);

  /// Gives it the name `path`, in place of what is there. Answers 0 or the error number.
  int takeName(const std::string& path);

 private:
  std::string name_;
};

/// A file that a command writes: complete under its name, or not there at all. Until `commit` the
/// bytes are in a new file in the same folder, which goes again when the command fails or is
/// interrupted. What fails throws FileFailure.
///
/// An old file of that name is replaced then, if it may be written to; its permissions stay, and a
/// symbolic link to it stays a link. "-" is the standard output. This, a device and a pipe are
/// written to as the bytes come, but for the last ones, which wait for `commit`.
///
/// There is one at a time.
class OutputFile {
 public:
  explicit OutputFile(const std::string& path);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// The path fit for one line, "standard output" for "-".
  const std::string& displayName() const { return displayName_; }

  /// Small pieces are collected.
  void write(std::span<const std::byte> bytes);
  void write(std::string_view text) { write(std::as_bytes(std::span(text))); }

  /// Writes what is collected.
  void flush();

  /// Ends it: all of it is on the disk, and under its name.
  void commit();

 private:
  /// Gives the new file the permissions of the old one, or those of any new one.
  void takePermissions(const std::optional<struct stat>& old) const;

  void writeNow(std::span<const std::byte> bytes) const;

  [[noreturn]] void fail(int errorNumber) const;

  std::string displayName_;
  std::string path_;
  UnfinishedFile unfinished_;  // not there where the file itself is written
  Descriptor file_;
  std::vector<std::byte> collected_;
};

}  // namespace kestova::tool
