// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSObject.h>

#include <span>
#include <tuple>
#include <type_traits>
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

template <auto Function>
class SelectorMaker {
  using Shape = MemberFunction<decltype(Function)>;
  using Target = typename Shape::Target;
  using Arguments = typename Shape::Arguments;

 public:
  static id perform(NSObject& target, std::span<const id> arguments) {
    return call(dynamic_cast<Target&>(target), arguments,
                std::make_index_sequence<std::tuple_size_v<Arguments>>());
  }
  static bool isAnsweredBy(const NSObject& target) {
    return dynamic_cast<const Target*>(&target) != nullptr;
  }
  static constexpr SelectorBody body{&perform, &isAnsweredBy, std::tuple_size_v<Arguments>};

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
template <auto Function>
constexpr SEL sel() noexcept {
  return &detail::SelectorMaker<Function>::body;
}

}  // namespace kestova
