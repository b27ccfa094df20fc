// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>
#include <KestovaPlatform/NSValue.h>

#include <concepts>
#include <cstdint>
#include <type_traits>
#include <variant>

namespace kestova {

/// A number or truth value as an object. It remembers the type that it was made from.
///
///     Ref<NSNumber> answer = 42;                       // plain numbers box themselves
///     double half = answer->doubleValue() / 2;
///
/// Numbers of every type are equal when their values are: 1, 1.0 and true are one key in a
/// dictionary. Values are compared exactly, so the float 0.1 and the double 0.1 differ. A NaN is
/// equal to every other NaN and ordered before all else: numbers can always be sorted.
///
/// Reading as another type converts: whole numbers to smaller types keep their low bits, fractions
/// are cut off towards zero, floating-point values that a whole type can't hold become its nearest
/// limit and NaN becomes 0. Everything but 0 is true.
///
/// Threads: immutable, so any number of them may read one number at a time.
class KESTOVA_PLATFORM_EXPORT NSNumber : public NSValue {
  KESTOVA_CLASS(NSNumber, NSValue)

 public:
  /// What a number is kept as.
  using Value = std::variant<bool, std::int64_t, std::uint64_t, float, double>;

  /// \name Making
  /// @{

  /// One of two shared objects.
  static Ref<NSNumber> numberWithBool(bool value);

  static Ref<NSNumber> numberWithChar(char value);
  static Ref<NSNumber> numberWithUnsignedChar(unsigned char value);
  static Ref<NSNumber> numberWithShort(short value);
  static Ref<NSNumber> numberWithUnsignedShort(unsigned short value);
  static Ref<NSNumber> numberWithInt(int value);
  static Ref<NSNumber> numberWithUnsignedInt(unsigned value);
  static Ref<NSNumber> numberWithLong(long value);
  static Ref<NSNumber> numberWithUnsignedLong(unsigned long value);
  static Ref<NSNumber> numberWithLongLong(long long value);
  static Ref<NSNumber> numberWithUnsignedLongLong(unsigned long long value);
  static Ref<NSNumber> numberWithInteger(NSInteger value);
  static Ref<NSNumber> numberWithUnsignedInteger(NSUInteger value);
  static Ref<NSNumber> numberWithFloat(float value);
  static Ref<NSNumber> numberWithDouble(double value);

  /// @}
  /// \name Reading
  /// @{
  bool boolValue() const;
  char charValue() const;
  unsigned char unsignedCharValue() const;
  short shortValue() const;
  unsigned short unsignedShortValue() const;
  int intValue() const;
  unsigned unsignedIntValue() const;
  long longValue() const;
  unsigned long unsignedLongValue() const;
  long long longLongValue() const;
  unsigned long long unsignedLongLongValue() const;
  NSInteger integerValue() const;
  NSUInteger unsignedIntegerValue() const;
  float floatValue() const;
  double doubleValue() const;

  /// The number in its shortest form that reads back as the same value: "1", "-7", "0.5", "1e+300",
  /// "inf", "nan"; truth values are "1" and "0".
  Ref<NSString> stringValue() const;

  /// The value as it is kept.
  const Value& value() const noexcept { return value_; }

  /// The type that the number was made from: "B" for truth values, "c" "s" "i" "q" for whole
  /// numbers of 8, 16, 32 and 64 bits ("C" "S" "I" "Q" unsigned), "f", "d".
  const char* objCType() const override;
  void getValue(void* buffer) const override;

  /// @}
  /// \name Comparing
  /// @{

  /// Null throws NSInvalidArgumentException.
  NSComparisonResult compare(const Ref<NSNumber>& other) const;

  /// Whether the values are the same, of whichever types. Null is equal to nothing.
  bool isEqualToNumber(const Ref<NSNumber>& other) const;
  bool isEqualToValue(const Ref<NSValue>& other) const override;
  bool isEqual(const id& other) const override;
  NSUInteger hash() const override;

  /// @}

  /// The same as `stringValue`.
  Ref<NSString> description() const override;

 protected:
  /// `type` is the letter of `objCType`.
  NSNumber(Value value, char type) noexcept : value_(value), type_{type, '\0'} {}

 private:
  const Value value_;
  const char type_[2];
};

/// What a number can be made from: every arithmetic type but the character types of text.
template <class T>
concept Numeric = std::floating_point<T> ||
    (std::integral<T> && !std::same_as<T, wchar_t> && !std::same_as<T, char8_t> &&
     !std::same_as<T, char16_t> && !std::same_as<T, char32_t>);

/// Numbers, truth values and enumerators box themselves where a number, a value or any object is
/// expected. `char` is a number; a `long double` becomes a double.
struct NumberBoxing {
  template <class T>
  static constexpr bool into =
      std::is_same_v<T, NSNumber> || std::is_same_v<T, NSValue> || std::is_same_v<T, NSObject>;

  static Ref<NSNumber> box(bool value) { return NSNumber::numberWithBool(value); }
  static Ref<NSNumber> box(char value) { return NSNumber::numberWithChar(value); }
  static Ref<NSNumber> box(signed char value) {
    return NSNumber::numberWithChar(static_cast<char>(value));
  }
  static Ref<NSNumber> box(unsigned char value) { return NSNumber::numberWithUnsignedChar(value); }
  static Ref<NSNumber> box(short value) { return NSNumber::numberWithShort(value); }
  static Ref<NSNumber> box(unsigned short value) {
    return NSNumber::numberWithUnsignedShort(value);
  }
  static Ref<NSNumber> box(int value) { return NSNumber::numberWithInt(value); }
  static Ref<NSNumber> box(unsigned value) { return NSNumber::numberWithUnsignedInt(value); }
  static Ref<NSNumber> box(long value) { return NSNumber::numberWithLong(value); }
  static Ref<NSNumber> box(unsigned long value) { return NSNumber::numberWithUnsignedLong(value); }
  static Ref<NSNumber> box(long long value) { return NSNumber::numberWithLongLong(value); }
  static Ref<NSNumber> box(unsigned long long value) {
    return NSNumber::numberWithUnsignedLongLong(value);
  }
  static Ref<NSNumber> box(float value) { return NSNumber::numberWithFloat(value); }
  static Ref<NSNumber> box(double value) { return NSNumber::numberWithDouble(value); }
  static Ref<NSNumber> box(long double value) {
    return NSNumber::numberWithDouble(static_cast<double>(value));
  }
  template <class E>
  requires std::is_enum_v<E>
  static Ref<NSNumber> box(E value) { return box(static_cast<std::underlying_type_t<E>>(value)); }
};

template <Numeric T>
struct Boxing<T> : NumberBoxing {};
template <class E>
requires std::is_enum_v<E>
struct Boxing<E> : NumberBoxing {
};

namespace detail {

/// The number that an object is; a shared 0 for null. Throws NSInvalidArgumentException for an
/// object that is no number.
KESTOVA_PLATFORM_EXPORT const NSNumber& numberToUnbox(const id& object);

}  // namespace detail

/// Numbers unbox where a property has a numeric type, converted as NSNumber does. Null unboxes as
/// 0, an object that is no number throws NSInvalidArgumentException.
template <Numeric T>
struct Unboxing<T> {
  static T unbox(const id& object) {
    const NSNumber& number = detail::numberToUnbox(object);
    if constexpr (std::same_as<T, bool>) {
      return number.boolValue();
    } else if constexpr (std::same_as<T, float>) {
      return number.floatValue();
    } else if constexpr (std::floating_point<T>) {
      return number.doubleValue();
    } else {
      return whole(number);
    }
  }

 private:
  static T whole(const NSNumber& number) {
    if constexpr (std::signed_integral<T>) {
      return sizeof(T) == 8   ? static_cast<T>(number.longLongValue())
             : sizeof(T) == 4 ? static_cast<T>(number.intValue())
             : sizeof(T) == 2 ? static_cast<T>(number.shortValue())
                              : static_cast<T>(number.charValue());
    } else {
      return sizeof(T) == 8   ? static_cast<T>(number.unsignedLongLongValue())
             : sizeof(T) == 4 ? static_cast<T>(number.unsignedIntValue())
             : sizeof(T) == 2 ? static_cast<T>(number.unsignedShortValue())
                              : static_cast<T>(number.unsignedCharValue());
    }
  }
};

template <class E>
requires std::is_enum_v<E>
struct Unboxing<E> {
  static E unbox(const id& object) {
    return static_cast<E>(Unboxing<std::underlying_type_t<E>>::unbox(object));
  }
};

}  // namespace kestova
