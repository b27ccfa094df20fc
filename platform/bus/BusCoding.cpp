// SPDX-License-Identifier: Apache-2.0
#include "bus/BusCoding.h"

#include <cerrno>
#include <string_view>

namespace kestova {
namespace {

/// Reads the contents of a variant as this type, if that is what they are. Whether they were.
template <class Value>
bool readIfOfType(sd_bus_message* message, std::string_view contents, BusVariant& value,
                  int& result) {
  if (contents != BusCoding<Value>::signature()) {
    return false;
  }
  result = detail::readContainer(message, 'v', std::string(contents), [&] {
    return BusCoding<Value>::read(message, value.emplace<Value>());
  });
  return true;
}

template <class... Values>
int readOneOf(sd_bus_message* message, std::string_view contents, BusVariant& value,
              const std::variant<std::monostate, Values...>*) {
  int result = 0;
  if ((readIfOfType<Values>(message, contents, value, result) || ...)) {
    return result;
  }
  value = std::monostate();
  return sd_bus_message_skip(message, "v");
}

}  // namespace

int BusCoding<BusVariant>::append(sd_bus_message* message, const BusVariant& variant) {
  return std::visit(
      [&]<class Value>(const Value& value) {
        if constexpr (std::is_same_v<Value, std::monostate>) {
          return -EINVAL;
        } else {
          return detail::appendContainer(message, 'v', BusCoding<Value>::signature(),
                                         [&] { return BusCoding<Value>::append(message, value); });
        }
      },
      variant);
}

int BusCoding<BusVariant>::read(sd_bus_message* message, BusVariant& value) {
  char type = 0;
  const char* contents = nullptr;
  const int result = sd_bus_message_peek_type(message, &type, &contents);
  if (result <= 0) {
    return result;
  }
  if (type != 'v') {
    return -ENXIO;
  }
  return readOneOf(message, contents, value, static_cast<const BusVariant*>(nullptr));
}

}  // namespace kestova
