// SPDX-License-Identifier: Apache-2.0
#include "notification/DistributedUserInfo.h"

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSString.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace kestova {
namespace {

constexpr std::size_t kWeightOfValue = 16;
constexpr char kDateContents[] = "sd";
constexpr char kDateMark[] = "date";

/// What has been seen so far, and in how many containers the walk is. Both have limits, so the
/// walks may recurse.
class Measure {
 public:
  std::size_t weight() const { return weight_; }

  bool add(std::size_t bytes = 0) {
    weight_ += kWeightOfValue + bytes;
    return weight_ <= kHeaviestUserInfo;
  }

  bool descend() { return ++depth_ <= kDeepestUserInfo; }
  void ascend() { --depth_; }

 private:
  std::size_t weight_ = 0;
  int depth_ = 0;
};

[[noreturn]] void refuse(const char* reason) {
  throw NSException(
      NSInvalidArgumentException,
      NSString::stringWithFormat("The user info of a distributed notification %s", reason));
}

/// Text as a message holds it; nothing where it can't.
std::optional<std::string> messageText(const NSString& text) {
  auto utf8 = text.UTF8String();
  return utf8 && utf8->find('\0') == std::string::npos ? std::move(utf8) : std::nullopt;
}

/// Copies a property list.
class Snapshot {
 public:
  Ref<NSDictionary> dictionary(const Ref<NSDictionary>& values) {
    descend();
    const auto copy = NSMutableDictionary::dictionary();
    for (const auto& key : values) {
      const auto name = cast<NSString>(key);
      if (!name) {
        refuse("has a key that is no string");
      }
      copy->setObject_forKey(object(values->objectForKey(key)), text(name));
    }
    measure_.ascend();
    return copyOf(Ref<NSDictionary>(copy));
  }

  std::size_t weight() const { return measure_.weight(); }

 private:
  void descend() {
    add();
    if (!measure_.descend()) {
      refuse("is nested too deeply");
    }
  }

  void add(std::size_t bytes = 0) {
    if (!measure_.add(bytes)) {
      refuse("is too large");
    }
  }

  Ref<NSString> text(const Ref<NSString>& text) {
    const auto utf8 = messageText(*text);
    if (!utf8) {
      refuse("holds text that can't be sent");
    }
    add(utf8->size());
    return copyOf(text);
  }

  Ref<NSArray> array(const Ref<NSArray>& values) {
    descend();
    std::vector<id> copies;
    for (const auto& value : values) {
      copies.push_back(object(value));
    }
    measure_.ascend();
    return NSArray::arrayWithObjects(std::move(copies));
  }

  id object(const id& value) {
    if (const auto string = cast<NSString>(value)) {
      return text(string);
    }
    if (const auto data = cast<NSData>(value)) {
      add(data->length());
      return copyOf(data);
    }
    if (const auto values = cast<NSArray>(value)) {
      return array(values);
    }
    if (const auto values = cast<NSDictionary>(value)) {
      return dictionary(values);
    }
    const auto date = cast<NSDate>(value);
    if (!cast<NSNumber>(value) &&
        !(date && std::isfinite(date->timeIntervalSinceReferenceDate()))) {
      refuse("holds what is no property list");
    }
    add();
    return value;
  }

  Measure measure_;
};

/// Writes a snapshot.
class Writer {
 public:
  explicit Writer(sd_bus_message* message) : message_(message) {}

  int dictionary(const Ref<NSDictionary>& values) {
    return detail::appendContainer(message_, 'a', "{sv}", [&] {
      int result = 0;
      for (const auto& key : values) {
        result = detail::appendContainer(message_, 'e', "sv", [&] {
          const int named = text(*cast<NSString>(key));
          return named < 0 ? named : variant(values->objectForKey(key));
        });
        if (result < 0) {
          break;
        }
      }
      return result;
    });
  }

 private:
  int text(const NSString& text) {
    const auto utf8 = messageText(text);
    return utf8 ? BusCoding<std::string>::append(message_, *utf8) : -EINVAL;
  }

  int array(const Ref<NSArray>& values) {
    return detail::appendContainer(message_, 'a', "v", [&] {
      int result = 0;
      for (const auto& value : values) {
        if ((result = variant(value)) < 0) {
          break;
        }
      }
      return result;
    });
  }

  int variant(const id& value) {
    if (const auto string = cast<NSString>(value)) {
      return detail::appendContainer(message_, 'v', "s", [&] { return text(*string); });
    }
    if (const auto data = cast<NSData>(value)) {
      return detail::appendContainer(message_, 'v', "ay", [&] {
        return sd_bus_message_append_array(message_, 'y', data->bytes(), data->length());
      });
    }
    if (const auto values = cast<NSArray>(value)) {
      return detail::appendContainer(message_, 'v', "av", [&] { return array(values); });
    }
    if (const auto values = cast<NSDictionary>(value)) {
      return detail::appendContainer(message_, 'v', "a{sv}", [&] { return dictionary(values); });
    }
    if (const auto date = cast<NSDate>(value)) {
      return sd_bus_message_append(message_, "v", "(sd)", kDateMark,
                                   date->timeIntervalSinceReferenceDate());
    }
    return number(*cast<NSNumber>(value));
  }

  int number(const NSNumber& number) {
    return std::visit(
        [&](auto value) {
          using Kept = decltype(value);
          using Sent = std::conditional_t<std::is_same_v<Kept, float>, double, Kept>;
          return BusCoding<BusVariant>::append(message_, BusVariant(static_cast<Sent>(value)));
        },
        number.value());
  }

  sd_bus_message* const message_;
};

/// Reads whatever may be sent and makes property lists of it: more than is written, so that other
/// programs may write what comes easily to them. Null is a refusal.
class Reader {
 public:
  explicit Reader(sd_bus_message* message) : message_(message) {}

  std::size_t weight() const { return measure_.weight(); }

  /// The value that comes next, of whatever type.
  id value() {
    char type = 0;
    const char* contents = nullptr;
    if (sd_bus_message_peek_type(message_, &type, &contents) <= 0) {
      return nullptr;
    }
    switch (type) {
      case SD_BUS_TYPE_VARIANT:
        return variant(contents);
      case SD_BUS_TYPE_ARRAY:
        return arrayOf(contents);
      case SD_BUS_TYPE_STRUCT:
        return date(contents);
      default:
        return plain(type);
    }
  }

 private:
  template <class Read>
  auto contained(char type, const char* contents, Read&& read) -> decltype(read()) {
    const std::string types = contents;  // the library may forget them
    if (sd_bus_message_enter_container(message_, type, types.c_str()) <= 0) {
      return nullptr;
    }
    auto result = read();
    return sd_bus_message_exit_container(message_) >= 0 ? result : nullptr;
  }

  /// One right in another says nothing more, but could go on.
  id variant(const char* contents) {
    return *contents == SD_BUS_TYPE_VARIANT ? nullptr
                                            : contained('v', contents, [&] { return value(); });
  }

  id arrayOf(std::string_view contents) {
    if (contents == "y") {
      return data();
    }
    if (!measure_.add() || !measure_.descend()) {
      return nullptr;
    }
    const bool isDictionary = contents.starts_with("{s") || contents.starts_with("{o");
    id made = contained('a', contents.data(),
                        [&]() -> id { return isDictionary ? dictionary() : array(); });
    measure_.ascend();
    return made;
  }

  id array() {
    std::vector<id> values;
    while (sd_bus_message_at_end(message_, 0) == 0) {
      values.push_back(value());
      if (!values.back()) {
        return nullptr;
      }
    }
    return NSArray::arrayWithObjects(std::move(values));
  }

  id dictionary() {
    const auto values = NSMutableDictionary::dictionary();
    while (sd_bus_message_at_end(message_, 0) == 0) {
      char type = 0;
      const char* contents = nullptr;
      if (sd_bus_message_peek_type(message_, &type, &contents) <= 0 ||
          !contained('e', contents, [&] { return entry(*values); })) {
        return nullptr;
      }
    }
    return copyOf(Ref<NSDictionary>(values));
  }

  id entry(NSMutableDictionary& values) {
    const id key = value();
    id object = key ? value() : nullptr;
    if (object) {
      values.setObject_forKey(object, key);
    }
    return object;
  }

  id data() {
    const void* bytes = nullptr;
    std::size_t length = 0;
    return sd_bus_message_read_array(message_, 'y', &bytes, &length) > 0 && measure_.add(length)
               ? id(NSData::dataWithBytes_length(bytes, length))
               : nullptr;
  }

  id date(std::string_view contents) {
    std::tuple<std::string, double> parts;
    const bool isDate = contents == kDateContents && measure_.add() &&
                        detail::readAll(message_, parts) > 0 && std::get<0>(parts) == kDateMark &&
                        std::isfinite(std::get<1>(parts));
    return isDate ? id(NSDate::dateWithTimeIntervalSinceReferenceDate(std::get<1>(parts)))
                  : nullptr;
  }

  id plain(char type) {
    switch (type) {
      case SD_BUS_TYPE_STRING:
      case SD_BUS_TYPE_OBJECT_PATH:
      case SD_BUS_TYPE_SIGNATURE:
        return text(type);
      case SD_BUS_TYPE_BOOLEAN:
        return number<bool>();
      case SD_BUS_TYPE_BYTE:
        return number<std::uint8_t>();
      case SD_BUS_TYPE_INT16:
        return number<std::int16_t>();
      case SD_BUS_TYPE_UINT16:
        return number<std::uint16_t>();
      case SD_BUS_TYPE_INT32:
        return number<std::int32_t>();
      case SD_BUS_TYPE_UINT32:
        return number<std::uint32_t>();
      case SD_BUS_TYPE_INT64:
        return number<std::int64_t>();
      case SD_BUS_TYPE_UINT64:
        return number<std::uint64_t>();
      case SD_BUS_TYPE_DOUBLE:
        return number<double>();
      default:
        return nullptr;  // descriptors have no place in a property list
    }
  }

  id text(char type) {
    const char* text = nullptr;
    if (sd_bus_message_read_basic(message_, type, &text) <= 0) {
      return nullptr;
    }
    const std::string_view utf8 = text;
    return measure_.add(utf8.size()) ? id(NSString::stringWithUTF8String(utf8)) : nullptr;
  }

  template <class Value>
  id number() {
    Value value{};
    return measure_.add() && detail::readAll(message_, value) > 0 ? id(value) : nullptr;
  }

  sd_bus_message* const message_;
  Measure measure_;
};

}  // namespace

DistributedUserInfo DistributedUserInfo::of(const Ref<NSDictionary>& values) {
  if (!values) {
    return {};
  }
  Snapshot snapshot;
  auto copy = snapshot.dictionary(values);
  return {std::move(copy), snapshot.weight()};
}

bool DistributedUserInfo::read(const BusMessage& message) {
  Reader reader(message.get());
  values = cast<NSDictionary>(reader.value());
  weight = reader.weight();
  return values != nullptr;
}

bool DistributedUserInfo::append(const BusMessage& message) const {
  return Writer(message.get()).dictionary(values ? values : NSDictionary::dictionary()) >= 0;
}

}  // namespace kestova
