// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Descriptor.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace kestova::tool {

/// A file that a command reads from its front to its end, however long it is: a regular file, a
/// pipe, a device. "-" is the standard input. What fails throws FileFailure.
class InputFile {
 public:
  explicit InputFile(const std::string& path);

  /// The path fit for one line, "standard input" for "-".
  const std::string& displayName() const { return displayName_; }

  /// Fills the buffer. Answers how many bytes came: fewer than there is room for only at the end,
  /// 0 behind it.
  std::size_t read(std::span<std::byte> buffer);

  /// Hands on all that is left, in pieces of 256 KiB; only the last one may be shorter.
  void forEachPiece(const std::function<void(std::span<const std::byte>)>& consume);

  /// Goes back to the front, for a second reading. Answers false where that is not possible.
  bool rewind();

  /// Makes it possible: what is left of a pipe or a terminal goes into a temporary file without a
  /// name, which is read in its place.
  void makeRewindable();

  /// How many bytes are behind the place where the next one is read; not of a pipe.
  std::uint64_t position() const;

  /// For what only the system can tell of the file.
  int descriptor() const { return file_.number(); }

 private:
  std::string displayName_;
  Descriptor file_;
};

}  // namespace kestova::tool
