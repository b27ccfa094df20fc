// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSGeometry.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSRange.h>

#include <type_traits>

namespace kestova {

/// A plain value as an object: a range, a rectangle, a point, a size or an address.
///
///     Ref<NSArray> found = NSArray::of(NSMakeRange(0, 4), NSMakeRange(8, 2));
///     NSRange first = cast<NSValue>(found->firstObject())->rangeValue();
///
/// A subclass overrides the primitives `objCType` and `getValue`. Numbers are NSNumbers.
///
/// Threads: immutable, so any number of them may read one value at a time.
class KESTOVA_PLATFORM_EXPORT NSValue : public NSObject {
  KESTOVA_CLASS(NSValue, NSObject)

 public:
  /// \name Making
  /// @{
  static Ref<NSValue> valueWithRange(NSRange range);
  static Ref<NSValue> valueWithRect(NSRect rect);
  static Ref<NSValue> valueWithPoint(NSPoint point);
  static Ref<NSValue> valueWithSize(NSSize size);
  static Ref<NSValue> valueWithPointer(const void* pointer);

  /// An object that is not kept alive: the caller sees to it that it still lives when it is read.
  static Ref<NSValue> valueWithNonretainedObject(NSObject* object);
  /// @}
  /// \name Primitives
  /// @{

  /// The type of the value: "{_NSRange=QQ}", "{_NSRect={_NSPoint=dd}{_NSSize=dd}}",
  /// "{_NSPoint=dd}", "{_NSSize=dd}", "^v" for an address, "@" for an object; a letter for numbers.
  virtual const char* objCType() const = 0;

  /// Copies the value, as the type says it is laid out, to where `buffer` points.
  virtual void getValue(void* buffer) const = 0;

  /// @}
  /// \name Reading
  /// A value of another type throws NSInvalidArgumentException.
  /// @{
  NSRange rangeValue() const;
  NSRect rectValue() const;
  NSPoint pointValue() const;
  NSSize sizeValue() const;
  void* pointerValue() const;
  NSObject* nonretainedObjectValue() const;
  /// @}

  /// Whether both have the same type and the same value. Null is equal to nothing.
  virtual bool isEqualToValue(const Ref<NSValue>& other) const;

  bool isEqual(const id& other) const override;
  NSUInteger hash() const override;

  /// "NSRange: {1, 2}", "NSRect: {{0, 0}, {1, 2}}", "NSPoint: {1, 2}", "NSSize: {1, 2}", "<0x…>".
  Ref<NSString> description() const override;

  /// This value itself.
  id copy() const override;

 protected:
  NSValue() = default;
};

/// Ranges and geometry box themselves where a value or any object is expected, and unbox where a
/// property has their type. Null unboxes as zero, an object that holds something else throws
/// NSInvalidArgumentException.
struct ValueBoxing {
  template <class T>
  static constexpr bool into = std::is_same_v<T, NSValue> || std::is_same_v<T, NSObject>;

  static Ref<NSValue> box(NSRange range) { return NSValue::valueWithRange(range); }
  static Ref<NSValue> box(NSRect rect) { return NSValue::valueWithRect(rect); }
  static Ref<NSValue> box(NSPoint point) { return NSValue::valueWithPoint(point); }
  static Ref<NSValue> box(NSSize size) { return NSValue::valueWithSize(size); }
};

template <>
struct Boxing<NSRange> : ValueBoxing {};
template <>
struct Boxing<NSRect> : ValueBoxing {};
template <>
struct Boxing<NSPoint> : ValueBoxing {};
template <>
struct Boxing<NSSize> : ValueBoxing {};

template <>
struct KESTOVA_PLATFORM_EXPORT Unboxing<NSRange> {
  static NSRange unbox(const id& object);
};
template <>
struct KESTOVA_PLATFORM_EXPORT Unboxing<NSRect> {
  static NSRect unbox(const id& object);
};
template <>
struct KESTOVA_PLATFORM_EXPORT Unboxing<NSPoint> {
  static NSPoint unbox(const id& object);
};
template <>
struct KESTOVA_PLATFORM_EXPORT Unboxing<NSSize> {
  static NSSize unbox(const id& object);
};

}  // namespace kestova
