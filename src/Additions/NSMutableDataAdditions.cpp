// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSDataAdditions.h>
#include <KestovaFoundation/Additions/NSMutableDataAdditions.h>
#include <KestovaPlatform/ByteSearch.h>

#include "Additions/DataBytes.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>

namespace kestova {
namespace {

using Bytes = std::span<const std::byte>;

/// Rewrites data in its own memory, from the front to the back. Invariant: it never writes behind
/// the index up to which it has read.
class Rewriting {
 public:
  /// Reads from `readIndex` on and writes from index 0 on.
  Rewriting(NSMutableData& data, NSUInteger readIndex) : data_(data), read_(readIndex) {}

  /// Reads and writes from `start` on, with room for `growth` more bytes: all that is behind
  /// `start` moves that far away, and is known by its new indexes from now on.
  Rewriting(NSMutableData& data, NSUInteger start, NSUInteger growth)
      : data_(data), read_(start + growth), written_(start) {
    const NSUInteger tail = data.length() - start;
    data.extend(growth);
    move(start, read_, tail);
  }

  NSUInteger readIndex() const { return read_; }

  void keepUpTo(NSUInteger index) {
    move(read_, written_, index - read_);
    written_ += index - read_;
    read_ = index;
  }

  void replace(NSUInteger length, Bytes replacement) {
    read_ += length;
    if (!replacement.empty()) {
      std::memcpy(data_.mutableBytes() + written_, replacement.data(), replacement.size());
    }
    written_ += replacement.size();
  }

  void finish() { data_.setLength(written_); }

 private:
  void move(NSUInteger from, NSUInteger to, NSUInteger length) {
    if (length > 0 && from != to) {
      std::memmove(data_.mutableBytes() + to, data_.bytes() + from, length);
    }
  }

  NSMutableData& data_;
  NSUInteger read_;
  NSUInteger written_ = 0;
};

/// The first index of the pattern between two indexes of the data.
std::optional<NSUInteger> find(const NSMutableData& data, const BytePattern& pattern,
                               NSUInteger start, NSUInteger end) {
  if (start >= end) {
    return std::nullopt;
  }
  const std::size_t found = pattern.firstIn(data.span().subspan(start, end - start));
  return found == BytePattern::npos ? std::nullopt : std::optional(start + found);
}

NSUInteger countMatches(const NSMutableData& data, const BytePattern& pattern, NSRange range) {
  NSUInteger count = 0;
  for (auto match = find(data, pattern, range.location, NSMaxRange(range)); match;
       match = find(data, pattern, *match + pattern.size(), NSMaxRange(range))) {
    ++count;
  }
  return count;
}

NSUInteger product(NSUInteger a, NSUInteger b) {
  NSUInteger result = 0;
  if (__builtin_mul_overflow(a, b, &result)) {
    throw std::bad_alloc();
  }
  return result;
}

/// There are `count` matches, at least one.
void replaceByLonger(NSMutableData& data, const BytePattern& pattern, Bytes replacement,
                     NSRange range, NSUInteger count) {
  const NSUInteger growth = product(count, replacement.size() - pattern.size());
  Rewriting rewriting(data, range.location, growth);
  for (; count > 0; --count) {
    rewriting.keepUpTo(*find(data, pattern, rewriting.readIndex(), NSMaxRange(range) + growth));
    rewriting.replace(pattern.size(), replacement);
  }
}

void checkReplacement(const void* replacement) {
  if (replacement == nullptr) {
    throw NSException(NSInvalidArgumentException,
                      "replaceOccurrencesOfBytes:length:withBytes:length:range: nil replacement");
  }
}

/// The header tells the outcome. The range is not empty.
NSUInteger replaceInPlace(NSMutableData& data, const BytePattern& pattern, Bytes replacement,
                          NSRange range) {
  const NSUInteger end = NSMaxRange(range);
  Rewriting rewriting(data, range.location);
  NSUInteger count = 0;
  for (NSUInteger searchEnd = end;; searchEnd = range.length) {
    const auto first = find(data, pattern, rewriting.readIndex(), searchEnd);
    if (!first) {
      return count;
    }
    rewriting.keepUpTo(*first);
    rewriting.replace(pattern.size(), replacement);
    ++count;
    const auto second = find(data, pattern, rewriting.readIndex(), end);
    rewriting.keepUpTo(second.value_or(end));
    if (second) {
      rewriting.replace(pattern.size(), replacement);
      ++count;
    }
    if (!second || rewriting.readIndex() == range.length) {
      rewriting.finish();
      return count;
    }
  }
}

/// Whether the ranges lie in so many bytes one behind the other.
bool areAscending(std::span<const NSRange> ranges, NSUInteger length) {
  NSUInteger end = 0;
  return std::ranges::all_of(ranges, [&](NSRange range) {
    const bool isNext = range.location >= end && range.location <= length &&
                        range.length <= length - range.location;
    end = NSMaxRange(range);
    return isNext;
  });
}

/// How far the writing gets ahead of the reading, at most, when each range becomes so many bytes.
NSUInteger greatestGrowth(std::span<const NSRange> ranges, NSUInteger length) {
  NSUInteger greatest = 0;
  NSUInteger taken = 0;
  for (std::size_t index = 0; index < ranges.size(); ++index) {
    const NSUInteger put = product(index + 1, length);
    taken += ranges[index].length;
    greatest = std::max(greatest, put - std::min(put, taken));
  }
  return greatest;
}

void replaceAscending(NSMutableData& data, std::span<const NSRange> ranges, Bytes bytes) {
  const NSUInteger growth = greatestGrowth(ranges, bytes.size());
  const NSUInteger end = data.length() + growth;
  Rewriting rewriting(data, ranges.front().location, growth);
  for (const NSRange range : ranges) {
    rewriting.keepUpTo(range.location + growth);
    rewriting.replace(range.length, bytes);
  }
  rewriting.keepUpTo(end);
  rewriting.finish();
}

/// The data, or a copy of it where it is the one that is going to change.
Ref<NSData> apartFrom(const Ref<NSMutableData>& changing, const Ref<NSData>& data) {
  return data == changing ? copyOf<NSData>(data) : data;
}

}  // namespace

inline namespace NSMutableData_ReplaceAdditions {

void insertBytes_length_atIndex(const Ref<NSMutableData>& self, const void* bytes,
                                NSUInteger length, NSUInteger index) {
  self->replaceBytesInRange_withBytes_length({index, 0}, bytes, length);
}

void insertData_atIndex(const Ref<NSMutableData>& self, const Ref<NSData>& data, NSUInteger index) {
  const Ref<NSData> inserted = apartFrom(self, data);
  insertBytes_length_atIndex(self, bytesOf(inserted).data(), bytesOf(inserted).size(), index);
}

NSUInteger replaceOccurrencesOfBytes_length_withBytes_length_range(
    const Ref<NSMutableData>& self, const void* pattern, NSUInteger patternLength,
    const void* replacement, NSUInteger replacementLength, NSRange range) {
  const bool isLonger = replacementLength > patternLength;
  if (range.length == 0) {
    if (!isLonger) {
      self->setLength(0);
    }
    return 0;
  }
  checkRange(self, "replaceOccurrencesOfBytes:length:withBytes:length:range:", range);
  const BytePattern wanted(bytesAt(pattern, patternLength));
  if (!isLonger) {
    return replaceInPlace(*self, wanted, bytesAt(replacement, replacementLength), range);
  }
  const NSUInteger count = countMatches(*self, wanted, range);
  if (count > 0) {
    checkReplacement(replacement);
    replaceByLonger(*self, wanted, bytesAt(replacement, replacementLength), range, count);
  }
  return count;
}

NSUInteger replaceOccurrencesOfData_withData_range(const Ref<NSMutableData>& self,
                                                   const Ref<NSData>& pattern,
                                                   const Ref<NSData>& replacement, NSRange range) {
  const Ref<NSData> wanted = apartFrom(self, pattern);
  const Ref<NSData> put = apartFrom(self, replacement);
  return replaceOccurrencesOfBytes_length_withBytes_length_range(
      self, bytesOf(wanted).data(), bytesOf(wanted).size(), bytesOf(put).data(),
      bytesOf(put).size(), range);
}

void replaceBytesInRanges_numberOfRanges_withBytes_length(const Ref<NSMutableData>& self,
                                                          const NSRange* ranges, NSUInteger count,
                                                          const void* bytes, NSUInteger length) {
  const std::span all(ranges, count);
  const bool areBytes = bytes != nullptr || length == 0;
  if (count > 1 && areBytes && areAscending(all, self->length())) {
    replaceAscending(*self, all, bytesAt(bytes, length));
    return;
  }
  for (auto range = all.rbegin(); range != all.rend(); ++range) {
    self->replaceBytesInRange_withBytes_length(*range, bytes, length);
  }
}

}  // namespace NSMutableData_ReplaceAdditions

}  // namespace kestova
