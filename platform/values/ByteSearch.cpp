// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/ByteSearch.h>

#include "text/TwoWayMatches.h"
#include "values/ByteSearchVectors.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace kestova {
namespace {

/// How common a byte is held to be, in text and in other files: a guess that costs only time where
/// it is wrong.
constexpr std::array<std::uint8_t, 256> kCommonness = [] {
  std::array<std::uint8_t, 256> commonness{};
  const auto fill = [&](int first, int last, std::uint8_t value) {
    for (int byte = first; byte <= last; ++byte) {
      commonness[static_cast<std::size_t>(byte)] = value;
    }
  };
  fill(0x20, 0x7E, 60);  // signs
  fill(0x80, 0xBF, 50);  // inside characters beyond ASCII
  fill(0xC2, 0xF4, 70);  // at their beginning
  fill('0', '9', 120);
  fill('A', 'Z', 90);
  std::uint8_t rank = 240;
  for (const char letter : std::string_view("etaoinsrhldcumfpgwybvkxjqz")) {
    commonness[static_cast<std::uint8_t>(letter)] = rank;
    rank = static_cast<std::uint8_t>(rank - 5);
  }
  for (const char sign : std::string_view("\n,.")) {
    commonness[static_cast<std::uint8_t>(sign)] = 160;
  }
  commonness[0x00] = 230;
  commonness[0xFF] = 130;
  commonness[' '] = 255;
  return commonness;
}();

/// So much of a pattern is looked through for rare bytes.
constexpr std::size_t kProbedLength = 256;

std::size_t rarestBut(std::span<const std::byte> pattern, std::size_t excluded) {
  std::size_t rarest = excluded == 0 ? 1 : 0;
  for (std::size_t index = rarest + 1; index < pattern.size(); ++index) {
    const auto commonnessAt = [&](std::size_t at) {
      return kCommonness[std::to_integer<std::uint8_t>(pattern[at])];
    };
    if (index != excluded && commonnessAt(index) < commonnessAt(rarest)) {
      rarest = index;
    }
  }
  return rarest;
}

const std::uint8_t* raw(std::span<const std::byte> bytes) {
  return reinterpret_cast<const std::uint8_t*>(bytes.data());
}

std::size_t indexIn(std::span<const std::byte> bytes, const void* found) {
  return found == nullptr
             ? BytePattern::npos
             : static_cast<std::size_t>(static_cast<const std::byte*>(found) - bytes.data());
}

/// How many places there are where the pattern, which is not empty, may begin.
std::size_t startsIn(std::span<const std::byte> bytes, std::size_t patternSize) {
  return bytes.size() < patternSize ? 0 : bytes.size() - patternSize + 1;
}

/// Bytes by their index, counted from either side.
auto fromFront(std::span<const std::byte> bytes) {
  return [bytes](std::size_t index) { return bytes[index]; };
}
auto fromBack(std::span<const std::byte> bytes) {
  return [bytes](std::size_t index) { return bytes[bytes.size() - 1 - index]; };
}

}  // namespace

BytePattern::BytePattern(std::span<const std::byte> pattern) noexcept : pattern_(pattern) {
  if (pattern.size() > 1) {
    const auto probed = pattern.first(std::min(pattern.size(), kProbedLength));
    rarest_ = rarestBut(probed, npos);
    secondRarest_ = rarestBut(probed, rarest_);
  }
}

std::size_t BytePattern::firstIn(std::span<const std::byte> bytes) const noexcept {
  const std::size_t starts = startsIn(bytes, pattern_.size());
  if (pattern_.empty() || starts == 0) {
    return npos;
  }
  if (pattern_.size() == 1) {
    return indexIn(bytes, std::memchr(bytes.data(), std::to_integer<int>(pattern_[0]), starts));
  }
  const VectorSearchEnd end = findFirstByVectors(
      {raw(pattern_), pattern_.size(), rarest_, secondRarest_}, raw(bytes), starts);
  if (end.kind != VectorSearchEnd::kGivenUp) {
    return end.kind == VectorSearchEnd::kFound ? end.position : npos;
  }
  const auto left = bytes.subspan(end.position);
  const std::size_t found =
      TwoWayMatches(fromFront(left), left.size(), fromFront(pattern_), pattern_.size()).next();
  return found == npos ? npos : end.position + found;
}

std::size_t BytePattern::lastIn(std::span<const std::byte> bytes) const noexcept {
  const std::size_t starts = startsIn(bytes, pattern_.size());
  if (pattern_.empty() || starts == 0) {
    return npos;
  }
  if (pattern_.size() == 1) {
    return indexIn(bytes, ::memrchr(bytes.data(), std::to_integer<int>(pattern_[0]), starts));
  }
  const VectorSearchEnd end = findLastByVectors(
      {raw(pattern_), pattern_.size(), rarest_, secondRarest_}, raw(bytes), starts);
  if (end.kind != VectorSearchEnd::kGivenUp) {
    return end.kind == VectorSearchEnd::kFound ? end.position : npos;
  }
  const auto left = bytes.first(end.position + pattern_.size() - 1);
  const std::size_t found =
      TwoWayMatches(fromBack(left), left.size(), fromBack(pattern_), pattern_.size()).next();
  return found == npos ? npos : end.position - 1 - found;
}

}  // namespace kestova
