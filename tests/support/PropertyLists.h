// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>
#include <gtest/gtest.h>

#include "Bytes.h"

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace kestova::testing {

inline constexpr NSPropertyListFormat kPropertyListFormats[] = {NSPropertyListXMLFormat_v1_0,
                                                                NSPropertyListBinaryFormat_v1_0};

inline Ref<NSData> dataOfText(std::string_view text) {
  return NSData::dataWithBytes_length(text.data(), text.size());
}

inline std::string textOfData(const Ref<NSData>& data) {
  return data ? std::string(reinterpret_cast<const char*>(data->bytes()), data->length()) : "";
}

/// What reading or writing a property list gave: the value, or nothing and the description and the
/// code of the error.
template <class Value>
struct PropertyListOutcome {
  Value value;
  std::string problem;
  NSInteger code = 0;
};

template <class Value>
PropertyListOutcome<Value> outcomeOf(const Value& value, const Ref<NSError>& error) {
  EXPECT_EQ(value == nullptr, error != nullptr);
  if (!error) {
    return {value, "", 0};
  }
  EXPECT_EQ(error->domain(), NSCocoaErrorDomain);
  EXPECT_TRUE(error->localizedDescription()->isEqual(
      error->userInfo()->objectForKey(NSDebugDescriptionErrorKey)));
  return {value, error->localizedDescription()->displayUTF8(), error->code()};
}

inline PropertyListOutcome<id> readPropertyList(std::string_view bytes,
                                                NSUInteger options = NSPropertyListImmutable) {
  Ref<NSError> error;
  const id value = NSPropertyListSerialization::propertyListWithData_options_format_error(
      dataOfText(bytes), options, nullptr, &error);
  return outcomeOf(value, error);
}

/// The value is what was written, as text that may hold any bytes.
inline PropertyListOutcome<Ref<NSData>> writePropertyList(const id& propertyList,
                                                          NSPropertyListFormat format) {
  Ref<NSError> error;
  const auto data = NSPropertyListSerialization::dataWithPropertyList_format_options_error(
      propertyList, format, 0, &error);
  EXPECT_EQ(NSPropertyListSerialization::propertyList_isValidForFormat(propertyList, format),
            data != nullptr);
  return outcomeOf(data, error);
}

/// Big-endian.
inline std::string bytesOfNumber(std::size_t number, std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t index = size; index-- > 0; number >>= 8) {
    bytes[index] = static_cast<char>(number);
  }
  return bytes;
}

/// The bytes of a list in the binary format, from those of its objects.
struct BinaryPropertyList {
  std::vector<std::string> objects;
  std::size_t top = 0;
  std::size_t offsetSize = 1;
  std::size_t referenceSize = 1;

  std::string bytes() const {
    std::string result = "bplist00";
    std::string offsets;
    for (const std::string& object : objects) {
      offsets += bytesOfNumber(result.size(), offsetSize);
      result += object;
    }
    const std::size_t table = result.size();
    return result + offsets + std::string(6, '\0') + bytesOfNumber(offsetSize, 1) +
           bytesOfNumber(referenceSize, 1) + bytesOfNumber(objects.size(), 8) +
           bytesOfNumber(top, 8) + bytesOfNumber(table, 8);
  }
};

/// A list with every type of value that both formats keep exactly, in every size.
inline Ref<NSDictionary> everyKindOfValue() {
  return NSDictionary::of({
      {"yes", true},
      {"no", false},
      {"integers", NSArray::of(0, 1, 255, 256, 65535, 65536, 4294967295U, 4294967296, -1, -128,
                               std::numeric_limits<std::int64_t>::max(),
                               std::numeric_limits<std::int64_t>::min())},
      {"unsigned", NSArray::of(9223372036854775808U, std::numeric_limits<std::uint64_t>::max())},
      {"reals", NSArray::of(0.0, 1.0, -2.5, 0.1, 1e300, 5e-324)},
      {"float", 0.5F},
      {"date", NSDate::dateWithTimeIntervalSinceReferenceDate(694224000)},
      {"old date", NSDate::dateWithTimeIntervalSinceReferenceDate(-3000000000)},
      {"data", dataOf({0, 1, 2, 253, 254, 255})},
      {"no data", NSData::data()},
      {"much data", dataOfText(std::string(1000, 'x'))},
      {"", "the empty key"},
      {"empty", ""},
      {"text", "a\tb\nc\rd <&> \"quoted\" 'it'"},
      {"Grüße", "ä€😀"},
      {"a long text", std::string(300, 'y')},
      {"array", NSArray::of(NSArray::array(), NSArray::of("nested"), NSDictionary::dictionary())},
      {"dictionary", NSDictionary::of({{"inner", NSDictionary::of({{"innermost", 1}})}})},
  });
}

}  // namespace kestova::testing
