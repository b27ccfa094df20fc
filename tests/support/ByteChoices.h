// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kestova::testing {

/// Choices that the bytes of a fuzzer's input make, one each; the first one when there are none
/// left.
class ByteChoices {
 public:
  ByteChoices(const std::uint8_t* bytes, std::size_t size) : bytes_(bytes, size) {}

  bool areLeft() const { return !bytes_.empty(); }

  /// A number from 0 to `limit` - 1; 0 for a limit of 0.
  std::uint64_t below(std::uint64_t limit) {
    if (bytes_.empty() || limit == 0) {
      return 0;
    }
    const std::uint64_t choice = bytes_.front() % limit;
    bytes_ = bytes_.subspan(1);
    return choice;
  }

 private:
  std::span<const std::uint8_t> bytes_;
};

}  // namespace kestova::testing
