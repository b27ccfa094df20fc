// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSString.h>

#include "values/NumberText.h"
#include "values/RangeCheck.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <typeinfo>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSNumber)

namespace {

/// Holds every value of every type that a number is kept as, exactly.
using Exact = long double;
static_assert(std::numeric_limits<Exact>::digits >= 64);

Exact exact(const NSNumber& number) {
  return std::visit([](auto value) { return static_cast<Exact>(value); }, number.value());
}

/// The whole part, or the nearest limit of the type; 0 for NaN.
template <class Whole>
Whole saturated(Exact value) {
  using Limits = std::numeric_limits<Whole>;
  if (std::isnan(value)) {
    return 0;
  }
  if (value >= static_cast<Exact>(Limits::max())) {
    return Limits::max();
  }
  return value <= static_cast<Exact>(Limits::min()) ? Limits::min() : static_cast<Whole>(value);
}

template <class T>
T converted(const NSNumber& number) {
  return std::visit(
      [](auto value) {
        if constexpr (std::floating_point<decltype(value)> && std::integral<T>) {
          return saturated<T>(value);
        } else {
          return static_cast<T>(value);
        }
      },
      number.value());
}

template <class T>
void store(const NSNumber& number, void* buffer) {
  const T value = converted<T>(number);
  std::memcpy(buffer, &value, sizeof value);
}

bool isWholeWithin64Bits(Exact value) {
  return value >= static_cast<Exact>(std::numeric_limits<std::int64_t>::min()) &&
         value <= static_cast<Exact>(std::numeric_limits<std::uint64_t>::max()) &&
         value == std::trunc(value);
}

NSComparisonResult ordered(bool isLess, bool isGreater) {
  return isLess ? NSOrderedAscending : isGreater ? NSOrderedDescending : NSOrderedSame;
}

}  // namespace

Ref<NSNumber> NSNumber::numberWithBool(bool value) {
  static const auto& no = *new Ref<NSNumber>(make<NSNumber>(Value(false), 'B'));
  static const auto& yes = *new Ref<NSNumber>(make<NSNumber>(Value(true), 'B'));
  return value ? yes : no;
}

Ref<NSNumber> NSNumber::numberWithChar(char value) {
  return make<NSNumber>(Value(std::int64_t{static_cast<signed char>(value)}), 'c');
}
Ref<NSNumber> NSNumber::numberWithUnsignedChar(unsigned char value) {
  return make<NSNumber>(Value(std::uint64_t{value}), 'C');
}
Ref<NSNumber> NSNumber::numberWithShort(short value) {
  return make<NSNumber>(Value(std::int64_t{value}), 's');
}
Ref<NSNumber> NSNumber::numberWithUnsignedShort(unsigned short value) {
  return make<NSNumber>(Value(std::uint64_t{value}), 'S');
}
Ref<NSNumber> NSNumber::numberWithInt(int value) {
  return make<NSNumber>(Value(std::int64_t{value}), 'i');
}
Ref<NSNumber> NSNumber::numberWithUnsignedInt(unsigned value) {
  return make<NSNumber>(Value(std::uint64_t{value}), 'I');
}
Ref<NSNumber> NSNumber::numberWithLong(long value) { return numberWithLongLong(value); }
Ref<NSNumber> NSNumber::numberWithUnsignedLong(unsigned long value) {
  return numberWithUnsignedLongLong(value);
}
Ref<NSNumber> NSNumber::numberWithLongLong(long long value) {
  return make<NSNumber>(Value(std::int64_t{value}), 'q');
}
Ref<NSNumber> NSNumber::numberWithUnsignedLongLong(unsigned long long value) {
  return make<NSNumber>(Value(std::uint64_t{value}), 'Q');
}
Ref<NSNumber> NSNumber::numberWithInteger(NSInteger value) { return numberWithLongLong(value); }
Ref<NSNumber> NSNumber::numberWithUnsignedInteger(NSUInteger value) {
  return numberWithUnsignedLongLong(value);
}
Ref<NSNumber> NSNumber::numberWithFloat(float value) { return make<NSNumber>(Value(value), 'f'); }
Ref<NSNumber> NSNumber::numberWithDouble(double value) { return make<NSNumber>(Value(value), 'd'); }

bool NSNumber::boolValue() const {
  return std::visit([](auto value) { return value != 0; }, value_);
}
char NSNumber::charValue() const { return static_cast<char>(converted<signed char>(*this)); }
unsigned char NSNumber::unsignedCharValue() const { return converted<unsigned char>(*this); }
short NSNumber::shortValue() const { return converted<short>(*this); }
unsigned short NSNumber::unsignedShortValue() const { return converted<unsigned short>(*this); }
int NSNumber::intValue() const { return converted<int>(*this); }
unsigned NSNumber::unsignedIntValue() const { return converted<unsigned>(*this); }
long NSNumber::longValue() const { return converted<long>(*this); }
unsigned long NSNumber::unsignedLongValue() const { return converted<unsigned long>(*this); }
long long NSNumber::longLongValue() const { return converted<long long>(*this); }
unsigned long long NSNumber::unsignedLongLongValue() const {
  return converted<unsigned long long>(*this);
}
NSInteger NSNumber::integerValue() const { return converted<NSInteger>(*this); }
NSUInteger NSNumber::unsignedIntegerValue() const { return converted<NSUInteger>(*this); }
float NSNumber::floatValue() const { return converted<float>(*this); }
double NSNumber::doubleValue() const { return converted<double>(*this); }

Ref<NSString> NSNumber::stringValue() const {
  return std::visit([](auto value) { return Ref<NSString>(numberText(+value)); }, value_);
}

const char* NSNumber::objCType() const { return type_; }

void NSNumber::getValue(void* buffer) const {
  switch (type_[0]) {
    case 'B':
      return store<bool>(*this, buffer);
    case 'c':
      return store<signed char>(*this, buffer);
    case 'C':
      return store<unsigned char>(*this, buffer);
    case 's':
      return store<short>(*this, buffer);
    case 'S':
      return store<unsigned short>(*this, buffer);
    case 'i':
      return store<int>(*this, buffer);
    case 'I':
      return store<unsigned>(*this, buffer);
    case 'q':
      return store<std::int64_t>(*this, buffer);
    case 'Q':
      return store<std::uint64_t>(*this, buffer);
    case 'f':
      return store<float>(*this, buffer);
    default:
      return store<double>(*this, buffer);
  }
}

NSComparisonResult NSNumber::compare(const Ref<NSNumber>& other) const {
  checkArgument(*this, "compare:", other != nullptr);
  const Exact mine = exact(*this);
  const Exact theirs = exact(*other);
  if (std::isnan(mine) || std::isnan(theirs)) {
    return ordered(!std::isnan(theirs), !std::isnan(mine));
  }
  return ordered(mine<theirs, mine> theirs);
}

bool NSNumber::isEqualToNumber(const Ref<NSNumber>& other) const {
  return other && compare(other) == NSOrderedSame;
}

bool NSNumber::isEqualToValue(const Ref<NSValue>& other) const {
  return isEqualToNumber(cast<NSNumber>(other));
}

/// Collections ask this for every key: whole numbers, which most keys are, compare at once.
bool NSNumber::isEqual(const id& other) const {
  const NSObject* object = other.get();
  if (object != nullptr && typeid(*object) == typeid(NSNumber)) {
    const auto* mine = std::get_if<std::int64_t>(&value_);
    const auto* theirs = std::get_if<std::int64_t>(&static_cast<const NSNumber&>(*object).value_);
    if (mine != nullptr && theirs != nullptr) {
      return *mine == *theirs;
    }
  }
  return NSValue::isEqual(other);
}

NSUInteger NSNumber::hash() const {
  if (const auto* whole = std::get_if<std::int64_t>(&value_); whole != nullptr) {
    return static_cast<NSUInteger>(*whole);
  }
  const Exact value = exact(*this);
  if (!isWholeWithin64Bits(value)) {
    return std::isnan(value) ? 0 : std::hash<double>()(static_cast<double>(value));
  }
  return value < 0 ? static_cast<NSUInteger>(static_cast<NSInteger>(value))
                   : static_cast<NSUInteger>(value);
}

Ref<NSString> NSNumber::description() const { return stringValue(); }

const NSNumber& detail::numberToUnbox(const id& object) {
  static const auto& zero = *new Ref<NSNumber>(NSNumber::numberWithInt(0));
  if (!object) {
    return *zero;
  }
  const auto* number = dynamic_cast<const NSNumber*>(object.get());
  if (number == nullptr) {
    throw NSException(
        NSInvalidArgumentException,
        NSString::stringWithFormat("A number is needed, but this is a %@: %@",
                                   NSStringFromClass(object->classDescriptor()), object));
  }
  return *number;
}

}  // namespace kestova
