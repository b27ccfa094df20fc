// SPDX-License-Identifier: Apache-2.0
#include "preferences/BinaryPropertyListItem.h"

#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSNumber.h>

#include "preferences/PropertyListFault.h"

#include <bit>
#include <cmath>
#include <string>

namespace kestova {

void failAtByte(std::size_t place, const Ref<NSString>& fault) {
  throw PropertyListFault{NSString::stringWithFormat("%@, at byte %lu.", fault, place)};
}

id BinaryPropertyListItem::rarerValue() {
  switch (kind_) {
    case BinaryKind::simple:
      return simpleValue();
    case BinaryKind::real:
      return realValue();
    case BinaryKind::date:
      return dateValue();
    case BinaryKind::data:
      return dataValue();
    case BinaryKind::utf16String:
      return utf16Value();
    case BinaryKind::uid:
      return uidValue();
    case BinaryKind::set:
      failAtByte(place_, "A set is no value of a property list");
    default:
      failAtByte(place_, "An object is of an unknown kind");
  }
}

std::span<const std::byte> BinaryPropertyListItem::references(std::size_t size) {
  const std::size_t count = takeCount();
  return cut(count, kind_ == BinaryKind::dictionary ? 2 * size : size);
}

id BinaryPropertyListItem::simpleValue() {
  cut(0, 1);
  if (nibble_ != kBinaryFalse && nibble_ != kBinaryTrue) {
    failAtByte(place_, "Nothing is no value of a property list");
  }
  return NSNumber::numberWithBool(nibble_ == kBinaryTrue);
}

/// In eight bytes as in sixteen there is a sign; what takes less has none.
id BinaryPropertyListItem::integerValue() {
  const auto bytes = cut(std::size_t(1) << nibble_, 1);
  if (bytes.size() > 16) {
    failAtByte(place_, "An integer takes more than 16 bytes");
  }
  const bool isWide = bytes.size() == 16;
  const auto low = unsignedFrom(isWide ? bytes.last(8) : bytes);
  const auto asSigned = static_cast<std::int64_t>(low);
  const std::uint64_t high = isWide ? unsignedFrom(bytes.first(8)) : 0;
  if (!isWide || high == (asSigned < 0 ? ~std::uint64_t(0) : 0)) {
    return NSNumber::numberWithLongLong(asSigned);
  }
  if (high != 0) {
    failAtByte(place_, "An integer needs more than 64 bits");
  }
  return NSNumber::numberWithUnsignedLongLong(low);
}

id BinaryPropertyListItem::realValue() {
  const auto bytes = cut(std::size_t(1) << nibble_, 1);
  switch (bytes.size()) {
    case sizeof(float):
      return NSNumber::numberWithFloat(
          std::bit_cast<float>(static_cast<std::uint32_t>(unsignedFrom(bytes))));
    case sizeof(double):
      return NSNumber::numberWithDouble(std::bit_cast<double>(unsignedFrom(bytes)));
    default:
      failAtByte(place_, "A real number takes neither 4 nor 8 bytes");
  }
}

id BinaryPropertyListItem::dateValue() {
  const auto bytes = cut(std::size_t(1) << nibble_, 1);
  const auto seconds =
      bytes.size() == sizeof(double) ? std::bit_cast<double>(unsignedFrom(bytes)) : HUGE_VAL;
  if (!std::isfinite(seconds)) {
    failAtByte(place_, "A date is no moment");
  }
  return NSDate::dateWithTimeIntervalSinceReferenceDate(seconds);
}

id BinaryPropertyListItem::dataValue() {
  const auto bytes = cut(takeCount(), 1);
  return NSData::dataWithBytes_length(bytes.data(), bytes.size());
}

id BinaryPropertyListItem::utf16Value() {
  const auto bytes = cut(takeCount(), 2);
  std::u16string units(bytes.size() / 2, u'\0');
  for (std::size_t index = 0; index < units.size(); ++index) {
    units[index] = static_cast<char16_t>(unsignedFrom(bytes.subspan(2 * index, 2)));
  }
  return NSString::stringWithCharacters_length(units.data(), units.size());
}

id BinaryPropertyListItem::uidValue() {
  const auto bytes = cut(nibble_ + 1, 1);
  if (bytes.size() > 8) {
    failAtByte(place_, "A UID needs more than 64 bits");
  }
  const std::uint64_t number = unsignedFrom(bytes);
  return static_cast<std::int64_t>(number) < 0
             ? NSNumber::numberWithUnsignedLongLong(number)
             : NSNumber::numberWithLongLong(static_cast<std::int64_t>(number));
}

}  // namespace kestova
