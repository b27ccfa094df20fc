// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSString.h>

#include "text/TextStorage.h"
#include "text/UnicodeConversion.h"
#include "values/BlockHash.h"
#include "values/RangeCheck.h"

#include <cstdint>
#include <ostream>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSString, .property<&NSString::length>("length"))

namespace {

/// Four units as one number, the first one in its lowest bits.
NSUInteger fourUnits(const unichar* units) noexcept {
  return NSUInteger{units[0]} | NSUInteger{units[1]} << 16 | NSUInteger{units[2]} << 32 |
         NSUInteger{units[3]} << 48;
}

/// The same of ASCII bytes, spread all at once: looking up a key is little more than its hash.
NSUInteger fourUnits(const char* ascii) noexcept {
  const auto byte = [ascii](int index) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(ascii[index])) << 8 * index;
  };
  const std::uint32_t bytes = byte(0) | byte(1) | byte(2) | byte(3);
  const NSUInteger pairs = (bytes | NSUInteger{bytes} << 16) & 0x0000FFFF0000FFFFU;
  return (pairs | pairs << 8) & 0x00FF00FF00FF00FFU;
}

/// Hashes four units at a time, so that the number depends on the units and not on their storage.
template <class Unit>
NSUInteger hashOf(std::basic_string_view<Unit> units) noexcept {
  BlockHash hash(units.size());
  std::size_t index = 0;
  for (; units.size() - index >= 4; index += 4) {
    hash.add(fourUnits(units.data() + index));
  }
  for (; index < units.size(); ++index) {
    hash.add(static_cast<unichar>(units[index]));
  }
  return hash.value();
}

}  // namespace

NSString::Storage NSString::storageFor(std::u16string_view units) {
  if (isASCII(units)) {
    return std::string(units.begin(), units.end());
  }
  return std::u16string(units);
}

Ref<NSString> NSString::string() {
  static const auto& empty = *new Ref<NSString>(make<NSString>(std::string()));
  return empty;
}

Ref<NSString> NSString::stringWithUTF8String(std::string_view utf8) {
  if (isASCII(utf8)) {
    return make<NSString>(std::string(utf8));
  }
  auto units = utf16FromUTF8(utf8);
  return units ? make<NSString>(std::move(*units)) : nullptr;
}

Ref<NSString> NSString::stringWithCharacters_length(const unichar* characters, NSUInteger length) {
  return make<NSString>(storageFor({characters, length}));
}

Ref<NSString> NSString::stringWithUTF16Storage(std::u16string characters) {
  return make<NSString>(std::move(characters));
}

Ref<NSString> NSString::stringWithEightBitStorage(std::string characters) {
  return isASCII(characters) ? make<NSString>(std::move(characters)) : nullptr;
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
  return isEightBit() ? std::get<std::string>(storage_)
                      : utf8FromUTF16(std::get<std::u16string>(storage_));
}

std::string NSString::displayUTF8() const {
  return isEightBit() ? std::get<std::string>(storage_)
                      : displayUTF8FromUTF16(std::get<std::u16string>(storage_));
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
  Storage joined = storage_;
  withUnits(*other, [&](auto units) { appendUnits(joined, units); });
  return make<NSString>(std::move(joined));
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
