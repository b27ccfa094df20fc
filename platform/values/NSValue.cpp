// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSValue.h>

#include <cstring>
#include <functional>
#include <string>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSValue)

namespace {

using Pointer = void*;
using Unretained = NSObject*;

/// What tells the types of values apart, how each is hashed and written.
template <class T>
struct Kind;

std::string named(const char* kind, const Ref<NSString>& text) {
  return kind + (": " + text->displayUTF8());
}

template <class... Parts>
NSUInteger hashOfParts(const Parts&... parts) {
  NSUInteger hash = 0;
  ((hash = hash * 31 + std::hash<Parts>()(parts)), ...);
  return hash;
}

template <>
struct Kind<NSRange> {
  static constexpr const char* kType = "{_NSRange=QQ}";
  static std::string description(NSRange range) {
    return named("NSRange", NSStringFromRange(range));
  }
  static NSUInteger hash(NSRange range) { return hashOfParts(range.location, range.length); }
};

template <>
struct Kind<NSPoint> {
  static constexpr const char* kType = "{_NSPoint=dd}";
  static std::string description(NSPoint point) {
    return named("NSPoint", NSStringFromPoint(point));
  }
  static NSUInteger hash(NSPoint point) { return hashOfParts(point.x, point.y); }
};

template <>
struct Kind<NSSize> {
  static constexpr const char* kType = "{_NSSize=dd}";
  static std::string description(NSSize size) { return named("NSSize", NSStringFromSize(size)); }
  static NSUInteger hash(NSSize size) { return hashOfParts(size.width, size.height); }
};

template <>
struct Kind<NSRect> {
  static constexpr const char* kType = "{_NSRect={_NSPoint=dd}{_NSSize=dd}}";
  static std::string description(const NSRect& rect) {
    return named("NSRect", NSStringFromRect(rect));
  }
  static NSUInteger hash(const NSRect& rect) {
    return hashOfParts(rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
  }
};

template <>
struct Kind<Pointer> {
  static constexpr const char* kType = "^v";
  static std::string description(Pointer pointer) {
    return "<" + NSString::stringWithFormat("%p", pointer)->displayUTF8() + ">";
  }
  static NSUInteger hash(Pointer pointer) { return hashOfParts(pointer); }
};

/// An object that may be gone by now: known by its address alone.
template <>
struct Kind<Unretained> {
  static constexpr const char* kType = "@";
  static std::string description(Unretained object) { return Kind<Pointer>::description(object); }
  static NSUInteger hash(Unretained object) { return hashOfParts(object); }
};

template <class T>
class PlainValue final : public NSValue {
 public:
  explicit PlainValue(const T& value) : value_(value) {}

  const char* objCType() const override { return Kind<T>::kType; }
  void getValue(void* buffer) const override { std::memcpy(buffer, &value_, sizeof value_); }

 private:
  const T value_;
};

template <class T>
bool holds(const NSValue& value) {
  return std::strcmp(value.objCType(), Kind<T>::kType) == 0;
}

/// Throws unless the value is a `T`.
template <class T>
T read(const NSValue& value) {
  if (!holds<T>(value)) {
    throw NSException(NSInvalidArgumentException,
                      NSString::stringWithFormat("A value of type %s is needed, but this is a %s.",
                                                 Kind<T>::kType, value.objCType()));
  }
  T result;
  value.getValue(&result);
  return result;
}

template <class T>
T unboxed(const id& object) {
  if (!object) {
    return {};
  }
  const auto* value = dynamic_cast<const NSValue*>(object.get());
  if (value == nullptr) {
    throw NSException(
        NSInvalidArgumentException,
        NSString::stringWithFormat("A value of type %s is needed, but this is a %@.",
                                   Kind<T>::kType, NSStringFromClass(object->classDescriptor())));
  }
  return read<T>(*value);
}

/// Calls the function with what the value holds; does nothing for a type of a subclass's own.
template <class... T, class Function>
void withContentsAmong(const NSValue& value, const Function& function) {
  ((holds<T>(value) && (function(read<T>(value)), true)) || ...);
}

template <class Function>
void withContents(const NSValue& value, const Function& function) {
  withContentsAmong<NSRange, NSPoint, NSSize, NSRect, Pointer, Unretained>(value, function);
}

}  // namespace

Ref<NSValue> NSValue::valueWithRange(NSRange range) { return make<PlainValue<NSRange>>(range); }
Ref<NSValue> NSValue::valueWithRect(NSRect rect) { return make<PlainValue<NSRect>>(rect); }
Ref<NSValue> NSValue::valueWithPoint(NSPoint point) { return make<PlainValue<NSPoint>>(point); }
Ref<NSValue> NSValue::valueWithSize(NSSize size) { return make<PlainValue<NSSize>>(size); }
Ref<NSValue> NSValue::valueWithPointer(const void* pointer) {
  return make<PlainValue<Pointer>>(const_cast<Pointer>(pointer));
}
Ref<NSValue> NSValue::valueWithNonretainedObject(NSObject* object) {
  return make<PlainValue<Unretained>>(object);
}

NSRange NSValue::rangeValue() const { return read<NSRange>(*this); }
NSRect NSValue::rectValue() const { return read<NSRect>(*this); }
NSPoint NSValue::pointValue() const { return read<NSPoint>(*this); }
NSSize NSValue::sizeValue() const { return read<NSSize>(*this); }
void* NSValue::pointerValue() const { return read<Pointer>(*this); }
NSObject* NSValue::nonretainedObjectValue() const { return read<Unretained>(*this); }

bool NSValue::isEqualToValue(const Ref<NSValue>& other) const {
  bool isEqual = false;
  if (other) {
    withContents(*this, [&](const auto& contents) {
      using T = std::decay_t<decltype(contents)>;
      isEqual = holds<T>(*other) && read<T>(*other) == contents;
    });
  }
  return isEqual;
}

bool NSValue::isEqual(const id& other) const {
  return other == self() || isEqualToValue(cast<NSValue>(other));
}

NSUInteger NSValue::hash() const {
  NSUInteger hash = 0;
  withContents(*this, [&](const auto& contents) {
    hash = Kind<std::decay_t<decltype(contents)>>::hash(contents);
  });
  return hash;
}

Ref<NSString> NSValue::description() const {
  Ref<NSString> text = objCType();
  withContents(*this, [&](const auto& contents) {
    text = Kind<std::decay_t<decltype(contents)>>::description(contents);
  });
  return text;
}

id NSValue::copy() const { return self(); }

NSRange Unboxing<NSRange>::unbox(const id& object) { return unboxed<NSRange>(object); }
NSRect Unboxing<NSRect>::unbox(const id& object) { return unboxed<NSRect>(object); }
NSPoint Unboxing<NSPoint>::unbox(const id& object) { return unboxed<NSPoint>(object); }
NSSize Unboxing<NSSize>::unbox(const id& object) { return unboxed<NSSize>(object); }

}  // namespace kestova
