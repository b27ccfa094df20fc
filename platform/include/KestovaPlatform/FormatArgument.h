// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>

#include <concepts>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace kestova {

/// One argument of a format: whatever kind it is, with that kind kept, so that a format that does
/// not match its arguments prints something wrong but never reads what is not there.
class FormatArgument {
 public:
  /// A C string of bytes and a UTF-16 one; either may be null.
  using Bytes = const char*;
  using Units = const char16_t*;
  using Value = std::variant<std::int64_t, std::uint64_t, double, Bytes, Units, const void*, id>;

  // Each names its alternative: the variant's own choice would ask what boxes, before the classes
  // that box have said so.
  template <std::signed_integral T>
  FormatArgument(T value) : value_(std::in_place_type<std::int64_t>, value) {}
  template <std::unsigned_integral T>
  FormatArgument(T value) : value_(std::in_place_type<std::uint64_t>, value) {}
  template <class T>
  requires std::is_enum_v<T> FormatArgument(T value)
      : FormatArgument(static_cast<std::underlying_type_t<T>>(value)) {}
  template <std::floating_point T>
  FormatArgument(T value) : value_(std::in_place_type<double>, value) {}
  FormatArgument(const char* text) : value_(std::in_place_type<Bytes>, text) {}
  FormatArgument(const char16_t* text) : value_(std::in_place_type<Units>, text) {}
  FormatArgument(const std::string& text) : FormatArgument(text.c_str()) {}
  FormatArgument(const void* pointer) : value_(std::in_place_type<const void*>, pointer) {}
  FormatArgument(std::nullptr_t) : value_(std::in_place_type<id>) {}
  template <class T>
  FormatArgument(const Ref<T>& object) : value_(std::in_place_type<id>, object) {}
  /// Anything else that boxes, as the object that it becomes: string constants, views, ranges.
  template <class T>
  requires(std::is_class_v<T>&& BoxesInto<T, NSObject>) FormatArgument(const T& value)
      : value_(std::in_place_type<id>, value) {}

  const Value& value() const noexcept { return value_; }

 private:
  Value value_;
};

using FormatArguments = std::vector<FormatArgument>;

}  // namespace kestova
