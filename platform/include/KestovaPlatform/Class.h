// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSObject.h>

#include <functional>
#include <span>
#include <string_view>
#include <vector>

namespace kestova {

/// How an object becomes the plain C++ value that a setter takes: the reverse of `Boxing`. A class
/// that wraps a kind of value specialises it: `static Value unbox(const id&)`. References unbox by
/// `cast`.
template <class Value>
struct Unboxing;

template <class T>
struct Unboxing<Ref<T>> {
  static constexpr bool takesNull = true;
  static Ref<T> unbox(const id& object) { return cast<T>(object); }
};

/// One declared property of a class.
struct Property {
  std::string_view name;
  std::function<id(const NSObject&)> get;
  /// Empty for a property that is only read.
  std::function<void(NSObject&, const id&)> set;
  /// Whether nothing is a value of it: false for numbers, booleans and structs.
  bool takesNull = true;
};

/// Something that a class answers without an object, for itself and the classes below it that don't
/// override it.
struct ClassOperation {
  std::string_view name;
  id (*perform)();
};

/// What a class says of itself, once: name, superclass, declared properties in order, what it
/// answers without an object, how to make one. Look-up by name, key-value coding, property dumps
/// and interface files all read it.
///
///     KESTOVA_DEFINE_CLASS(Account,
///         .property<&Account::name, &Account::setName>("name")
///         .property<&Account::balance>("balance"))
///
/// Descriptions are made on first use, live until the process ends and never change: they may be
/// read from any thread.
class KESTOVA_PLATFORM_EXPORT Class {
 public:
  using Maker = id (*)();

  Class(std::string_view name, const Class* superclass, std::vector<Property> properties,
        std::vector<ClassOperation> operations, Maker maker);

  std::string_view name() const noexcept { return name_; }

  /// The class above; null for NSObject.
  const Class* superclass() const noexcept { return superclass_; }

  /// The properties that this class itself declares, in their order.
  std::span<const Property> properties() const noexcept { return properties_; }

  /// The property of that name, declared here or above; null when there is none.
  const Property* property(std::string_view name) const noexcept;

  /// What the nearest class, this one or one above, answers without an object under that name; null
  /// when none does.
  const ClassOperation* classOperation(std::string_view name) const noexcept;

  /// Whether this is `other` or stands below it.
  bool isSubclassOfClass(const Class& other) const noexcept;

  /// A new object of the class as its `init` makes it; nothing when the class can't be made without
  /// arguments.
  id make() const { return maker_ == nullptr ? id() : maker_(); }

  /// The class described under that name in any loaded library or program; null when there is none.
  static const Class* named(std::string_view name);

 private:
  template <class Member>
  const Member* nearest(const std::vector<Member> Class::*list,
                        std::string_view name) const noexcept;

  std::string_view name_;
  const Class* superclass_;
  std::vector<Property> properties_;
  std::vector<ClassOperation> operations_;
  Maker maker_;
};

/// The class of that name; null for an unknown name or nothing.
KESTOVA_PLATFORM_EXPORT const Class* NSClassFromString(const Ref<NSString>& name);

/// The class's name as a string.
KESTOVA_PLATFORM_EXPORT Ref<NSString> NSStringFromClass(const Class& described);

/// Enters a class into the look-up by name for as long as its library is loaded. It runs before
/// `main` and does nothing but link itself into a list.
class KESTOVA_PLATFORM_EXPORT ClassRegistration {
 public:
  ClassRegistration(std::string_view name, const Class& (*description)()) noexcept;
  ~ClassRegistration();
  ClassRegistration(const ClassRegistration&) = delete;
  ClassRegistration& operator=(const ClassRegistration&) = delete;

 private:
  friend class Class;

  std::string_view name_;
  const Class& (*description_)();
  ClassRegistration* next_;
};

/// Collects the description of `T`; `KESTOVA_DEFINE_CLASS` is its only user.
template <class T>
class ClassBuilder {
 public:
  ClassBuilder(std::string_view name, const Class* superclass)
      : name_(name), superclass_(superclass) {}

  /// A property that is only read. `Get` is a const member function without arguments.
  template <auto Get>
  ClassBuilder&& property(std::string_view name) && {
    properties_.push_back({name, getter<Get>(), {}, takesNull<Get>()});
    return std::move(*this);
  }

  /// A property that is read and written.
  template <auto Get, auto Set>
  ClassBuilder&& property(std::string_view name) && {
    properties_.push_back({name, getter<Get>(), setter<Get, Set>(), takesNull<Get>()});
    return std::move(*this);
  }

  /// What the class answers without an object, in place of what a class above answers. `Operation`
  /// is a function without arguments, static in the class.
  template <auto Operation>
  ClassBuilder&& classOperation(std::string_view name) && {
    operations_.push_back({name, [] { return id(Operation()); }});
    return std::move(*this);
  }

  Class build() && {
    return {name_, superclass_, std::move(properties_), std::move(operations_), maker()};
  }

 private:
  template <auto Get>
  using Value = std::remove_cvref_t<std::invoke_result_t<decltype(Get), const T&>>;

  template <auto Get>
  static constexpr bool takesNull() {
    return requires { requires Unboxing<Value<Get>>::takesNull; };
  }

  template <auto Get>
  static auto getter() {
    return [](const NSObject& object) { return id((static_cast<const T&>(object).*Get)()); };
  }

  template <auto Get, auto Set>
  static auto setter() {
    return [](NSObject& object, const id& value) {
      (static_cast<T&>(object).*Set)(Unboxing<Value<Get>>::unbox(value));
    };
  }

  static constexpr Class::Maker maker() {
    if constexpr (requires {
                    { T::init() } -> std::convertible_to<Ref<T>>;
                  }) {
      return [] { return id(T::init()); };
    } else if constexpr (std::is_default_constructible_v<T>) {
      return [] { return id(kestova::make<T>()); };
    } else {
      return nullptr;
    }
  }

  std::string_view name_;
  const Class* superclass_;
  std::vector<Property> properties_;
  std::vector<ClassOperation> operations_;
};

/// Defines what `KESTOVA_CLASS` declared. What follows the name are the properties and class
/// operations, as calls of ClassBuilder. The description is never destroyed: objects may outlive
/// the statics of their unit.
#define KESTOVA_DEFINE_CLASS(Name, ...)                                                         \
  const ::kestova::Class& Name::staticClass() {                                                 \
    static const ::kestova::Class& description = *new ::kestova::Class(                         \
        ::kestova::ClassBuilder<Name>(#Name, &Name::super::staticClass()) __VA_ARGS__.build()); \
    return description;                                                                         \
  }                                                                                             \
  static const ::kestova::ClassRegistration registrationOf##Name{#Name, &Name::staticClass};

}  // namespace kestova
