// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSCharacterSet.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSException.h>

#include "text/CharacterSetMembers.h"
#include "text/CharacterWalk.h"
#include "text/TextStorage.h"
#include "values/RangeCheck.h"

#include <algorithm>
#include <span>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSCharacterSet)

namespace {

constexpr NSUInteger kPlaneSize = 0x10000;
constexpr NSUInteger kPlaneCount = 17;
constexpr NSUInteger kPlaneBytes = kPlaneSize / 8;

icu::UnicodeSet setOfPattern(const char16_t* pattern) {
  UErrorCode status = U_ZERO_ERROR;
  icu::UnicodeSet set(icu::UnicodeString(pattern), status);
  require(U_SUCCESS(status) != 0, "ICU knows the properties of characters");
  return set;
}

/// Hands each run of members within a plane to a function, as first and last offset in the plane.
template <class Function>
void forRunsInPlane(const icu::UnicodeSet& set, NSUInteger plane, Function&& function) {
  const auto start = static_cast<UChar32>(plane * kPlaneSize);
  const auto end = static_cast<UChar32>(start + kPlaneSize - 1);
  for (std::int32_t index = 0; index < set.getRangeCount(); ++index) {
    const UChar32 first = std::max(set.getRangeStart(index), start);
    const UChar32 last = std::min(set.getRangeEnd(index), end);
    if (first <= last) {
      function(static_cast<NSUInteger>(first - start), static_cast<NSUInteger>(last - start));
    }
  }
}

/// Appends 8192 bytes with the members of a plane.
void appendPlane(NSMutableData& data, const icu::UnicodeSet& set, NSUInteger plane) {
  const NSUInteger begin = data.length();
  data.increaseLengthBy(kPlaneBytes);
  std::byte* bytes = data.mutableBytes() + begin;
  forRunsInPlane(set, plane, [&](NSUInteger first, NSUInteger last) {
    for (NSUInteger offset = first; offset <= last; ++offset) {
      bytes[offset / 8] |= std::byte{1} << offset % 8;
    }
  });
}

/// Adds the members that 8192 bytes tell of a plane.
void addPlane(icu::UnicodeSet& set, NSUInteger plane, std::span<const std::byte> bytes) {
  for (NSUInteger offset = 0; offset < kPlaneSize; ++offset) {
    if ((bytes[offset / 8] >> offset % 8 & std::byte{1}) != std::byte{0}) {
      set.add(static_cast<UChar32>(plane * kPlaneSize + offset));
    }
  }
}

}  // namespace

icu::UnicodeSet charactersInRange(NSRange range) {
  constexpr NSUInteger kEnd = kPlaneCount * kPlaneSize;
  if (range.location > kEnd || range.length > kEnd - range.location) {
    throw NSException(NSInvalidArgumentException,
                      NSString::stringWithFormat("Characters {%lu, %lu} lie beyond U+10FFFF.",
                                                 range.location, range.length));
  }
  return range.length == 0 ? icu::UnicodeSet()
                           : icu::UnicodeSet(static_cast<UChar32>(range.location),
                                             static_cast<UChar32>(NSMaxRange(range) - 1));
}

icu::UnicodeSet charactersInString(const Ref<NSString>& characters) {
  if (!characters) {
    throw NSException(NSInvalidArgumentException, "The characters of no string were asked for.");
  }
  icu::UnicodeSet set;
  withUnits(*characters, [&](auto units) {
    for (std::size_t index = 0; index < units.size();) {
      set.add(static_cast<UChar32>(nextCharacter(units, index)));
    }
  });
  return set;
}

NSCharacterSet::NSCharacterSet(Members members)
    : members_(std::make_unique<Members>(std::move(members))) {}

NSCharacterSet::~NSCharacterSet() { membersDidChange(); }

void NSCharacterSet::membersDidChange() noexcept { delete bitmap_.exchange(nullptr); }

// Each is made when it is first asked for, and is never destroyed.
#define KESTOVA_NAMED_SET(name, pattern)                                                    \
  Ref<NSCharacterSet> NSCharacterSet::name() {                                              \
    static const auto& set =                                                                \
        *new Ref<NSCharacterSet>(make<NSCharacterSet>(Members{setOfPattern(u"" pattern)})); \
    return set;                                                                             \
  }

KESTOVA_NAMED_SET(controlCharacterSet, "[[:Cc:][:Cf:]]")
KESTOVA_NAMED_SET(whitespaceCharacterSet, "[[:Zs:]\\u0009]")
KESTOVA_NAMED_SET(whitespaceAndNewlineCharacterSet, "[[:Z:]\\u0009-\\u000D\\u0085]")
KESTOVA_NAMED_SET(newlineCharacterSet, "[\\u000A-\\u000D\\u0085\\u2028\\u2029]")
KESTOVA_NAMED_SET(decimalDigitCharacterSet, "[:Nd:]")
KESTOVA_NAMED_SET(letterCharacterSet, "[[:L:][:M:]]")
KESTOVA_NAMED_SET(lowercaseLetterCharacterSet, "[:Ll:]")
KESTOVA_NAMED_SET(uppercaseLetterCharacterSet, "[[:Lu:][:Lt:]]")
KESTOVA_NAMED_SET(capitalizedLetterCharacterSet, "[:Lt:]")
KESTOVA_NAMED_SET(nonBaseCharacterSet, "[:M:]")
KESTOVA_NAMED_SET(alphanumericCharacterSet, "[[:L:][:M:][:N:]]")
KESTOVA_NAMED_SET(decomposableCharacterSet, "[:Decomposition_Type=Canonical:]")
KESTOVA_NAMED_SET(illegalCharacterSet, "[:Cn:]")
KESTOVA_NAMED_SET(punctuationCharacterSet, "[:P:]")
KESTOVA_NAMED_SET(symbolCharacterSet, "[:S:]")

#undef KESTOVA_NAMED_SET

Ref<NSCharacterSet> NSCharacterSet::characterSetWithRange(NSRange range) {
  return make<NSCharacterSet>(Members{charactersInRange(range)});
}

Ref<NSCharacterSet> NSCharacterSet::characterSetWithCharactersInString(
    const Ref<NSString>& characters) {
  return make<NSCharacterSet>(Members{charactersInString(characters)});
}

Ref<NSCharacterSet> NSCharacterSet::characterSetWithBitmapRepresentation(const Ref<NSData>& data) {
  if (!data) {
    throw NSException(NSInvalidArgumentException, "The bitmap of a character set is missing.");
  }
  std::span<const std::byte> bytes = data->span();
  if (bytes.size() % (kPlaneBytes + 1) != kPlaneBytes) {
    return nullptr;
  }
  icu::UnicodeSet set;
  addPlane(set, 0, bytes);
  for (bytes = bytes.subspan(kPlaneBytes); !bytes.empty(); bytes = bytes.subspan(kPlaneBytes + 1)) {
    const auto plane = std::to_integer<NSUInteger>(bytes.front());
    if (plane == 0 || plane >= kPlaneCount) {
      return nullptr;
    }
    addPlane(set, plane, bytes.subspan(1));
  }
  return make<NSCharacterSet>(Members{set});
}

Ref<NSCharacterSet> NSCharacterSet::invertedSet() const {
  icu::UnicodeSet set = members_->set;
  set.complement();
  return make<NSCharacterSet>(Members{set});
}

/// Two threads that ask first may both make one; that of the first to finish stays.
const NSCharacterSet::Bitmap* NSCharacterSet::makeBitmap() const {
  auto made = std::make_unique<Bitmap>();
  forRunsInPlane(members_->set, 0, [&](NSUInteger first, NSUInteger last) {
    for (NSUInteger character = first; character <= last; ++character) {
      (*made)[character / 64] |= std::uint64_t{1} << character % 64;
    }
  });
  const Bitmap* present = nullptr;
  return bitmap_.compare_exchange_strong(present, made.get(), std::memory_order_acq_rel)
             ? made.release()
             : present;
}

bool NSCharacterSet::supplementaryCharacterIsMember(std::uint32_t character) const {
  return character <= UCHAR_MAX_VALUE && members_->set.contains(static_cast<UChar32>(character));
}

bool NSCharacterSet::hasMemberInPlane(std::uint8_t plane) const {
  return plane < kPlaneCount &&
         members_->set.containsSome(static_cast<UChar32>(plane * kPlaneSize),
                                    static_cast<UChar32>(plane * kPlaneSize + kPlaneSize - 1));
}

bool NSCharacterSet::isSupersetOfSet(const Ref<NSCharacterSet>& other) const {
  checkArgument(*this, "isSupersetOfSet:", other != nullptr);
  return members_->set.containsAll(other->members_->set);
}

Ref<NSData> NSCharacterSet::bitmapRepresentation() const {
  const auto data = NSMutableData::data();
  appendPlane(*data, members_->set, 0);
  for (NSUInteger plane = 1; plane < kPlaneCount; ++plane) {
    const auto number = static_cast<std::uint8_t>(plane);
    if (hasMemberInPlane(number)) {
      data->appendBytes_length(&number, 1);
      appendPlane(*data, members_->set, plane);
    }
  }
  return copyOf<NSData>(data);
}

bool NSCharacterSet::isEqual(const id& other) const {
  const auto set = cast<NSCharacterSet>(other);
  return set && (set.get() == this || set->members_->set == members_->set);
}

NSUInteger NSCharacterSet::hash() const {
  return static_cast<NSUInteger>(static_cast<std::uint32_t>(members_->set.hashCode()));
}

id NSCharacterSet::copy() const { return self(); }

id NSCharacterSet::mutableCopy() const { return make<NSMutableCharacterSet>(*members_); }

}  // namespace kestova
