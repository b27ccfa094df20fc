// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

namespace kestova {

/// The path of an object, as the bus tells it from text.
struct BusObjectPath {
  std::string text;
  bool operator==(const BusObjectPath&) const = default;
};

/// A value that says itself what it is; nothing (the first alternative) for one of a type that
/// isn't among these. Nothing can't be sent.
using BusVariant =
    std::variant<std::monostate, bool, std::int32_t, std::uint32_t, std::int64_t, std::uint64_t,
                 double, std::string, BusObjectPath, std::vector<std::string>>;

/// What options and details mostly are.
using BusDictionary = std::map<std::string, BusVariant>;

/// How a C++ value stands in a message: `signature()`, and `append` and `read`, which answer what
/// sd-bus answers: a negative number for a failure, `read` 0 at the end of the message or array.
/// Integers, bool, double, text and paths are themselves, a vector is an array, a map an array of
/// entries, a tuple a structure.
template <class Value>
struct BusCoding;

namespace detail {

template <class Value, char kType>
struct PlainBusCoding {
  static std::string signature() { return {kType}; }
  static int append(sd_bus_message* message, const Value& value) {
    return sd_bus_message_append_basic(message, kType, &value);
  }
  static int read(sd_bus_message* message, Value& value) {
    return sd_bus_message_read_basic(message, kType, &value);
  }
};

template <char kType>
int readText(sd_bus_message* message, std::string& text) {
  const char* found = nullptr;
  const int result = sd_bus_message_read_basic(message, kType, &found);
  if (result > 0) {
    text = found;
  }
  return result;
}

/// Enters a container, lets `read` read what is in it, and leaves it. A container that `read` left
/// something in is a failure.
template <class Read>
int readContainer(sd_bus_message* message, char type, const std::string& contents, Read&& read) {
  int result = sd_bus_message_enter_container(message, type, contents.c_str());
  if (result <= 0) {
    return result;
  }
  result = read();
  return result < 0 ? result : sd_bus_message_exit_container(message);
}

template <class Append>
int appendContainer(sd_bus_message* message, char type, const std::string& contents,
                    Append&& append) {
  int result = sd_bus_message_open_container(message, type, contents.c_str());
  if (result < 0) {
    return result;
  }
  result = append();
  return result < 0 ? result : sd_bus_message_close_container(message);
}

template <class... Values>
int appendAll(sd_bus_message* message, const Values&... values) {
  int result = 0;
  static_cast<void>(((result = BusCoding<Values>::append(message, values), result >= 0) && ...));
  return result;
}

/// 1, or a failure; a message that ends too soon is one too.
template <class... Values>
int readAll(sd_bus_message* message, Values&... values) {
  int result = 1;
  static_cast<void>(((result = BusCoding<Values>::read(message, values), result > 0) && ...));
  return result == 0 ? -ENXIO : result;
}

}  // namespace detail

template <>
struct BusCoding<std::uint8_t> : detail::PlainBusCoding<std::uint8_t, 'y'> {};
template <>
struct BusCoding<std::int16_t> : detail::PlainBusCoding<std::int16_t, 'n'> {};
template <>
struct BusCoding<std::uint16_t> : detail::PlainBusCoding<std::uint16_t, 'q'> {};
template <>
struct BusCoding<std::int32_t> : detail::PlainBusCoding<std::int32_t, 'i'> {};
template <>
struct BusCoding<std::uint32_t> : detail::PlainBusCoding<std::uint32_t, 'u'> {};
template <>
struct BusCoding<std::int64_t> : detail::PlainBusCoding<std::int64_t, 'x'> {};
template <>
struct BusCoding<std::uint64_t> : detail::PlainBusCoding<std::uint64_t, 't'> {};
template <>
struct BusCoding<double> : detail::PlainBusCoding<double, 'd'> {};

template <>
struct BusCoding<bool> {
  static std::string signature() { return "b"; }
  static int append(sd_bus_message* message, bool value) {
    const int wide = value ? 1 : 0;
    return sd_bus_message_append_basic(message, 'b', &wide);
  }
  static int read(sd_bus_message* message, bool& value) {
    int wide = 0;
    const int result = sd_bus_message_read_basic(message, 'b', &wide);
    if (result > 0) {
      value = wide != 0;
    }
    return result;
  }
};

template <>
struct BusCoding<std::string> {
  static std::string signature() { return "s"; }
  static int append(sd_bus_message* message, const std::string& text) {
    return sd_bus_message_append_basic(message, 's', text.c_str());
  }
  static int read(sd_bus_message* message, std::string& text) {
    return detail::readText<'s'>(message, text);
  }
};

template <>
struct BusCoding<const char*> {
  static int append(sd_bus_message* message, const char* text) {
    return sd_bus_message_append_basic(message, 's', text);
  }
};
template <std::size_t kSize>
struct BusCoding<char[kSize]> : BusCoding<const char*> {};

template <>
struct BusCoding<BusObjectPath> {
  static std::string signature() { return "o"; }
  static int append(sd_bus_message* message, const BusObjectPath& path) {
    return sd_bus_message_append_basic(message, 'o', path.text.c_str());
  }
  static int read(sd_bus_message* message, BusObjectPath& path) {
    return detail::readText<'o'>(message, path.text);
  }
};

template <class Member>
struct BusCoding<std::vector<Member>> {
  static std::string signature() { return "a" + BusCoding<Member>::signature(); }
  static int append(sd_bus_message* message, const std::vector<Member>& members) {
    return detail::appendContainer(message, 'a', BusCoding<Member>::signature(), [&] {
      int result = 0;
      for (auto member = members.begin(); member != members.end() && result >= 0; ++member) {
        result = BusCoding<Member>::append(message, *member);
      }
      return result;
    });
  }
  static int read(sd_bus_message* message, std::vector<Member>& members) {
    members.clear();
    return detail::readContainer(message, 'a', BusCoding<Member>::signature(), [&] {
      int result = 0;
      for (Member member; (result = BusCoding<Member>::read(message, member)) > 0;) {
        members.push_back(std::move(member));
        member = Member();
      }
      return result;
    });
  }
};

template <class Key, class Value>
struct BusCoding<std::map<Key, Value>> {
  static std::string entry() { return BusCoding<Key>::signature() + BusCoding<Value>::signature(); }
  static std::string signature() { return "a{" + entry() + "}"; }
  static int append(sd_bus_message* message, const std::map<Key, Value>& members) {
    return detail::appendContainer(message, 'a', "{" + entry() + "}", [&] {
      int result = 0;
      for (auto member = members.begin(); member != members.end() && result >= 0; ++member) {
        result = detail::appendContainer(message, 'e', entry(), [&] {
          return detail::appendAll(message, member->first, member->second);
        });
      }
      return result;
    });
  }
  /// Of several entries with one key the first one counts.
  static int read(sd_bus_message* message, std::map<Key, Value>& members) {
    members.clear();
    return detail::readContainer(message, 'a', "{" + entry() + "}", [&] {
      int result = 1;
      while (result > 0) {
        Key key;
        Value value;
        result = detail::readContainer(message, 'e', entry(),
                                       [&] { return detail::readAll(message, key, value); });
        if (result > 0) {
          members.emplace(std::move(key), std::move(value));
        }
      }
      return result;
    });
  }
};

template <class... Members>
struct BusCoding<std::tuple<Members...>> {
  static std::string contents() { return (BusCoding<Members>::signature() + ...); }
  static std::string signature() { return "(" + contents() + ")"; }
  static int append(sd_bus_message* message, const std::tuple<Members...>& members) {
    return detail::appendContainer(message, 'r', contents(), [&] {
      return std::apply([&](const auto&... each) { return detail::appendAll(message, each...); },
                        members);
    });
  }
  static int read(sd_bus_message* message, std::tuple<Members...>& members) {
    return detail::readContainer(message, 'r', contents(), [&] {
      return std::apply([&](auto&... each) { return detail::readAll(message, each...); }, members);
    });
  }
};

template <>
struct BusCoding<BusVariant> {
  static std::string signature() { return "v"; }
  static int append(sd_bus_message* message, const BusVariant& value);
  static int read(sd_bus_message* message, BusVariant& value);
};

}  // namespace kestova
