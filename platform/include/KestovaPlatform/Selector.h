// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSObject.h>

#include <span>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace kestova {

/// What a selector points at: how to perform one member function on an object that is known only as
/// an NSObject. Made by `sel`, never by hand.
struct SelectorBody {
  /// Performs it on an object that has it (else std::bad_cast). Arguments that the function does
  /// not take are left out, missing ones are nothing. A result that is no object is boxed, none at
  /// all is nothing.
  id (*perform)(NSObject& target, std::span<const id> arguments);
  /// Whether an object has the function.
  bool (*isAnsweredBy)(const NSObject& target);
  /// How many arguments the function takes.
  NSUInteger arity;

  /// \name For one who performs it often on the same object
  /// All null where there is no shorter way than `perform`.
  /// @{

  /// Whether the function takes nothing, or just a reference to that class.
  bool (*takesOnly)(const std::type_info& argument) = nullptr;
  /// The object as the function wants it; null when it doesn't have the function.
  void* (*targetIn)(NSObject& object) = nullptr;
  /// Performs it without converting anything: on what `targetIn` answered, with the address of a
  /// reference to the class that it takes. The result is dropped.
  void (*performOnly)(void* target, const void* argument) = nullptr;

  /// @}
};

/// The name of an operation as a value: equal functions give the same address. Null is no
/// operation.
using SEL = const SelectorBody*;

namespace detail {

template <class Function>
struct MemberFunction;

template <class R, class C, class... A>
struct MemberFunction<R (C::*)(A...)> {
  using Result = R;
  using Target = C;
  using Arguments = std::tuple<std::remove_cvref_t<A>...>;
};
template <class R, class C, class... A>
struct MemberFunction<R (C::*)(A...) const> : MemberFunction<R (C::*)(A...)> {
  using Target = const C;
};
template <class R, class C, class... A>
struct MemberFunction<R (C::*)(A...) noexcept> : MemberFunction<R (C::*)(A...)> {};
template <class R, class C, class... A>
struct MemberFunction<R (C::*)(A...) const noexcept> : MemberFunction<R (C::*)(A...) const> {};

/// What a function's arguments are references to, where it takes one and nothing else.
template <class Arguments>
struct SoleReference {};
template <class T>
struct SoleReference<std::tuple<Ref<T>>> {
  using Class = T;
};

/// The type beside the function keeps apart what functions of equal names in unnamed namespaces
/// make: g++ takes only types for something that is known to one unit alone.
template <auto Function, class Type>
class SelectorMaker {
  using Shape = MemberFunction<decltype(Function)>;
  using Target = typename Shape::Target;
  using Arguments = typename Shape::Arguments;
  static constexpr bool takesReference = requires { typename SoleReference<Arguments>::Class; };

 public:
  static id perform(NSObject& target, std::span<const id> arguments) {
    return call(dynamic_cast<Target&>(target), arguments,
                std::make_index_sequence<std::tuple_size_v<Arguments>>());
  }
  static bool isAnsweredBy(const NSObject& target) {
    return dynamic_cast<const Target*>(&target) != nullptr;
  }
  static bool takesOnly(const std::type_info& argument) {
    if constexpr (std::tuple_size_v<Arguments> == 0) {
      return true;
    } else if constexpr (takesReference) {
      return argument == typeid(typename SoleReference<Arguments>::Class);
    } else {
      return false;
    }
  }
  static void* targetIn(NSObject& object) {
    return const_cast<std::remove_const_t<Target>*>(dynamic_cast<Target*>(&object));
  }
  static void performOnly(void* target, [[maybe_unused]] const void* argument) {
    if constexpr (std::tuple_size_v<Arguments> == 0) {
      static_cast<void>((static_cast<Target*>(target)->*Function)());
    } else if constexpr (takesReference) {
      const auto& reference = *static_cast<const std::tuple_element_t<0, Arguments>*>(argument);
      static_cast<void>((static_cast<Target*>(target)->*Function)(reference));
    }
  }
  static constexpr SelectorBody body{&perform,   &isAnsweredBy, std::tuple_size_v<Arguments>,
                                     &takesOnly, &targetIn,     &performOnly};

 private:
  template <std::size_t Index>
  static auto argument(std::span<const id> arguments) {
    using Value = std::tuple_element_t<Index, Arguments>;
    return Unboxing<Value>::unbox(Index < arguments.size() ? arguments[Index] : id());
  }

  template <std::size_t... Index>
  static id call(Target& target, [[maybe_unused]] std::span<const id> arguments,
                 std::index_sequence<Index...>) {
    if constexpr (std::is_void_v<typename Shape::Result>) {
      (target.*Function)(argument<Index>(arguments)...);
      return nullptr;
    } else {
      return id((target.*Function)(argument<Index>(arguments)...));
    }
  }
};

}  // namespace detail

/// The selector of a member function: `sel<&Observer::changed>()`. Its arguments and its result are
/// references to objects, or plain values that box.
template <auto Function, class Type = decltype(Function)>
constexpr SEL sel() noexcept {
  return &detail::SelectorMaker<Function, Type>::body;
}

}  // namespace kestova
