// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSString.h>

#include "text/TextStorage.h"
#include "text/UnicodeConversion.h"
#include "values/BlockHash.h"
#include "values/RangeCheck.h"

#include <endian.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSString, .property<&NSString::length>("length"))

namespace {

/// What a length has room for above the form.
constexpr NSUInteger kMostInPlace = (1U << 14) - 1;

/// From how many bytes on a buffer is taken over rather than copied.
constexpr std::size_t kLeastKept = 512;

/// The lower and the higher bytes of up to eight units, those of the first unit lowest.
struct UnitBlock {
  std::uint64_t low = 0;
  std::uint64_t high = 0;
};

constexpr std::size_t kBlockUnits = 8;

template <class Unit>
std::uint64_t loaded(const Unit* units) noexcept {
  std::uint64_t bytes;
  std::memcpy(&bytes, units, sizeof bytes);
  return le64toh(bytes);
}

/// The lower bytes of four units, side by side.
std::uint64_t lowBytes(std::uint64_t fourUnits) noexcept {
  const std::uint64_t apart = fourUnits & 0x00FF00FF00FF00FFU;
  const std::uint64_t pairs = (apart | apart >> 8) & 0x0000FFFF0000FFFFU;
  return (pairs | pairs >> 16) & 0xFFFFFFFFU;
}

UnitBlock wholeBlock(const char* ascii) noexcept { return {loaded(ascii), 0}; }

UnitBlock wholeBlock(const unichar* units) noexcept {
  const std::uint64_t first = loaded(units);
  const std::uint64_t second = loaded(units + 4);
  return {lowBytes(first) | lowBytes(second) << 32, lowBytes(first >> 8) | lowBytes(second >> 8)
                                                                               << 32};
}

template <class Unit>
UnitBlock partOfBlock(std::basic_string_view<Unit> units) noexcept {
  UnitBlock block;
  for (std::size_t index = units.size(); index-- > 0;) {
    const auto unit = static_cast<unichar>(units[index]);
    block.low = block.low << 8 | (unit & 0xFF);
    block.high = block.high << 8 | unit >> 8;
  }
  return block;
}

/// What is zero for ASCII is left out: so the hash depends on the units and not on their storage.
void add(BlockHash& hash, UnitBlock block) noexcept {
  hash.add(block.low);
  if (block.high != 0) {
    hash.add(block.high);
  }
}

/// Looking up a key is little more than its hash. The last block overlaps the one before it.
template <class Unit>
NSUInteger hashOf(std::basic_string_view<Unit> units) noexcept {
  BlockHash hash(units.size());
  if (units.size() < kBlockUnits) {
    add(hash, partOfBlock(units));
    return hash.value();
  }
  const Unit* const last = units.data() + units.size() - kBlockUnits;
  for (const Unit* block = units.data(); block < last; block += kBlockUnits) {
    add(hash, wholeBlock(block));
  }
  add(hash, wholeBlock(last));
  return hash.value();
}

}  // namespace

/// A string of so many units, which `write` writes before anybody else sees it.
template <class Unit, class Write>
[[gnu::always_inline]] inline Ref<NSString> NSString::written(NSUInteger length, Write&& write) {
  if (length > kMostInPlace) {
    std::basic_string<Unit> units(length, Unit{});
    write(units.data());
    return make<detail::BufferedString>(std::move(units));
  }
  constexpr Form kForm = sizeof(Unit) == sizeof(char) ? kEightBit : kUTF16;
  const auto form = static_cast<std::uint16_t>(length << kFormBits | kForm);
  auto string = Ref<NSString>::adopt(new (UnitBytes{length * sizeof(Unit)}) NSString(form));
  write(reinterpret_cast<Unit*>(string->units_));
  return string;
}

template <class Unit>
[[gnu::always_inline]] inline Ref<NSString> NSString::copied(std::basic_string_view<Unit> units) {
  if (units.size() > kMostInPlace) {
    return make<detail::BufferedString>(std::basic_string<Unit>(units));
  }
  return written<Unit>(units.size(), [&](Unit* to) { units.copy(to, units.size()); });
}

template <class Unit>
Ref<NSString> NSString::kept(std::basic_string<Unit> units) {
  return units.size() * sizeof(Unit) < kLeastKept
             ? copied(std::basic_string_view<Unit>(units))
             : Ref<NSString>(make<detail::BufferedString>(std::move(units)));
}

template <class Unit, class A, class B>
Ref<NSString> NSString::joined(A first, B second) {
  return written<Unit>(first.size() + second.size(), [&](Unit* to) {
    to = std::copy(first.begin(), first.end(), to);
    std::copy(second.begin(), second.end(), to);
  });
}

Ref<NSString> NSString::kept(Storage storage) {
  return std::visit([](auto& units) { return kept(std::move(units)); }, storage);
}

Ref<NSString> NSString::string() {
  static const auto& empty = *new Ref<NSString>(copied(std::string_view()));
  return empty;
}

Ref<NSString> NSString::stringWithUTF8String(std::string_view utf8) {
  if (isASCII(utf8)) {
    return copied(utf8);
  }
  if (!isWellFormedUTF8(utf8)) {
    return nullptr;
  }
  const NSUInteger length = utf16LengthOfUTF8(utf8);
  return written<unichar>(length, [&](unichar* to) { writeUTF16(utf8, {to, length}); });
}

Ref<NSString> NSString::stringWithCharacters_length(const unichar* characters, NSUInteger length) {
  const std::u16string_view units(characters, length);
  return isASCII(units) ? joined<char>(units, std::string_view()) : copied(units);
}

Ref<NSString> NSString::stringWithUTF16Storage(std::u16string characters) {
  return kept(std::move(characters));
}

Ref<NSString> NSString::stringWithEightBitStorage(std::string characters) {
  return isASCII(characters) ? kept(std::move(characters)) : nullptr;
}

Ref<NSString> NSString::stringWithString(const Ref<NSString>& string) { return copyOf(string); }

unichar NSString::characterAtIndex(NSUInteger index) const {
  if (index >= length()) [[unlikely]] {
    checkRange(*this, "characterAtIndex:", {index, 1}, length());
  }
  return withUnits(*this, [&](auto units) { return static_cast<unichar>(units[index]); });
}

void NSString::getCharacters_range(unichar* buffer, NSRange range) const {
  checkRange(*this, "getCharacters:range:", range, length());
  withUnits(*this, [&](auto units) {
    const auto piece = units.substr(range.location, range.length);
    std::copy(piece.begin(), piece.end(), buffer);
  });
}

std::optional<std::string> NSString::UTF8String() const {
  return isEightBit() ? std::string(eightBitCharacters(), length())
                      : utf8FromUTF16({utf16Characters(), length()});
}

std::string NSString::displayUTF8() const {
  return isEightBit() ? std::string(eightBitCharacters(), length())
                      : displayUTF8FromUTF16({utf16Characters(), length()});
}

std::u16string NSString::utf16() const {
  return withUnits(*this, [](auto units) { return std::u16string(units.begin(), units.end()); });
}

bool NSString::isEqualToString(const Ref<NSString>& other) const {
  return other && withBoth(*this, *other, [](auto a, auto b) { return equalUnits(a, b); });
}

bool NSString::hasPrefix(const Ref<NSString>& prefix) const {
  return prefix && withBoth(*this, *prefix, [](auto text, auto wanted) {
           return equalUnits(text.substr(0, wanted.size()), wanted);
         });
}

bool NSString::hasSuffix(const Ref<NSString>& suffix) const {
  return suffix && suffix->length() <= length() &&
         withBoth(*this, *suffix, [](auto text, auto wanted) {
           return equalUnits(text.substr(text.size() - wanted.size()), wanted);
         });
}

bool NSString::isEqual(const id& other) const {
  return other == this->self() || isEqualToString(cast<NSString>(other));
}

NSUInteger NSString::hash() const {
  return withUnits(*this, [](auto units) { return hashOf(units); });
}

Ref<NSString> NSString::substringWithRange(NSRange range) const {
  checkRange(*this, "substringWithRange:", range, length());
  return withUnits(
      *this, [&](auto units) { return stringOf(units.substr(range.location, range.length)); });
}

Ref<NSString> NSString::substringFromIndex(NSUInteger index) const {
  checkRange(*this, "substringFromIndex:", {index, 0}, length());
  return substringWithRange({index, length() - index});
}

Ref<NSString> NSString::substringToIndex(NSUInteger index) const {
  return substringWithRange({0, index});
}

Ref<NSString> NSString::stringByAppendingString(const Ref<NSString>& other) const {
  checkArgument(*this, "stringByAppendingString:", other != nullptr);
  const bool fits =
      isEightBit() && (other->isEightBit() || isASCII({other->utf16Characters(), other->length()}));
  return withBoth(*this, *other, [&](auto first, auto second) {
    return fits ? joined<char>(first, second) : joined<unichar>(first, second);
  });
}

Ref<NSString> NSString::description() const { return cast<NSString>(copy()); }

id NSString::copy() const { return self(); }

id NSString::mutableCopy() const {
  return NSMutableString::stringWithString(cast<NSString>(self()));
}

bool detail::isText(const NSString* string, std::string_view utf8) {
  if (string == nullptr) {
    return false;
  }
  if (const char* bytes = string->eightBitCharacters()) {
    return std::string_view(bytes, string->length()) == utf8;
  }
  const auto units = utf16FromUTF8(utf8);
  return units && isText(string, std::u16string_view(*units));
}

bool detail::isText(const NSString* string, std::u16string_view units) {
  return string != nullptr && withUnits(*string, [&](auto own) { return equalUnits(own, units); });
}

std::ostream& operator<<(std::ostream& stream, const Ref<NSString>& string) {
  return stream << (string ? string->displayUTF8() : "(null)");
}

std::ostream& operator<<(std::ostream& stream, const id& object) {
  return stream << (object ? object->description() : Ref<NSString>());
}

}  // namespace kestova
