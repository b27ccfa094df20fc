// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

namespace kestova {

class NSObject;
class NSString;
template <class T>
class Ref;

/// The strong reference to an object of any class.
using id = Ref<NSObject>;

/// How a plain C++ value becomes an object. A class that wraps a kind of value specialises this for
/// it: `static Ref<Class> box(const Value&)`, and `into<T>`, true for each class whose references
/// take the value as it stands.
template <class Value>
struct Boxing;

template <class Value, class T>
concept BoxesInto = requires {
  requires Boxing<std::decay_t<Value>>::template into<T>;
};

/// The one strong pointer to objects: 8 bytes, null means nothing.
///
/// A Ref shares the object with every other Ref to it; the object goes when the last one does. It
/// converts upward (`Ref<NSString>` to `id`), never downward: that is what `cast` is for. `==` is
/// identity; `isEqual` of the object compares values. Plain values box themselves where an object
/// is expected: `array->addObject(42)`, `dictionary->objectForKey("name")`.
///
/// A Ref itself belongs to one thread at a time; the count behind it may be shared by all.
template <class T>
class [[nodiscard]] Ref {
 public:
  using element_type = T;

  constexpr Ref() noexcept = default;
  constexpr Ref(std::nullptr_t) noexcept {}

  /// Shares an object that is known by a plain pointer; null is nothing.
  explicit Ref(T* object) noexcept : object_(object) { retain(); }

  Ref(const Ref& other) noexcept : object_(other.object_) { retain(); }
  Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}

  template <class U>
  requires(!std::same_as<U, T> && std::convertible_to<U*, T*>) Ref(const Ref<U>& other)
  noexcept : object_(other.get()) { retain(); }
  template <class U>
  requires(!std::same_as<U, T> && std::convertible_to<U*, T*>) Ref(Ref<U>&& other)
  noexcept : object_(other.leak()) {}

  /// Boxes a plain value.
  template <class Value>
  requires BoxesInto<Value, T> Ref(const Value& value)
      : Ref(Boxing<std::decay_t<Value>>::box(value)) {}

  ~Ref() { release(); }

  Ref& operator=(Ref other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  T* get() const noexcept { return object_; }
  T* operator->() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }

  /// Takes over a count that the caller holds, without adding one.
  static Ref adopt(T* object) noexcept {
    Ref result;
    result.object_ = object;
    return result;
  }

  /// Gives the count up to the caller, who must hand it to `adopt` again.
  T* leak() noexcept { return std::exchange(object_, nullptr); }

 private:
  void retain() const noexcept {
    if (object_ != nullptr) {
      object_->retain();
    }
  }
  void release() const noexcept {
    if (object_ != nullptr) {
      object_->release();
    }
  }

  T* object_ = nullptr;
};

template <class T, class U>
bool operator==(const Ref<T>& a, const Ref<U>& b) noexcept {
  return a.get() == b.get();
}

template <class T>
bool operator==(const Ref<T>& a, std::nullptr_t) noexcept {
  return a.get() == nullptr;
}

/// Makes an object, of this library or of a user's own subclass.
template <class T, class... Arguments>
Ref<T> make(Arguments&&... arguments) {
  return Ref<T>::adopt(new T(std::forward<Arguments>(arguments)...));
}

/// The same object as a `T`; null when it is none, or when there is no object.
template <class T, class U>
Ref<T> cast(const Ref<U>& object) noexcept {
  return Ref<T>(dynamic_cast<T*>(object.get()));
}

}  // namespace kestova

/// References hash by identity, as `==` compares; text hashes by its characters (NSString.h).
template <class T>
struct std::hash<kestova::Ref<T>> {
  std::size_t operator()(const kestova::Ref<T>& object) const noexcept {
    return std::hash<T*>()(object.get());
  }
};
