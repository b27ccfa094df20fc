// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace kestova {

enum class TransferKind { copy, move };

/// The option bits of a transfer.
enum TransferOptions : std::uint32_t {
  /// Replace what has the new name; without it that is an error.
  kTransferOverwrite = 1,
  /// Leave out what the user may not read; without it that is an error.
  kTransferSkipSourcePermissionErrors = 2,
  /// Fail where a move would have to copy.
  kTransferDoNotMoveAcrossVolumes = 4,
  /// Begin at once: the totals are not known beforehand and grow with what is done.
  kTransferSkipPreflight = 8,
};

/// What is to be transferred. All strings are bytes as the file system has them.
struct TransferRequest {
  std::string source;             ///< Path of the file, folder, link or special file.
  std::string destinationFolder;  ///< Path of the folder that it is to go into.
  std::string name;               ///< The name that it is to have there.
  TransferKind kind = TransferKind::copy;
  std::uint32_t options = 0;  ///< `TransferOptions`, added up.

  bool has(TransferOptions option) const { return (options & option) != 0; }
};

}  // namespace kestova
