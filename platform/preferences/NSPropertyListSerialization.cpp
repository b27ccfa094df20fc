// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>

#include "preferences/PropertyListReading.h"
#include "preferences/XMLPropertyListReader.h"

#include <algorithm>
#include <span>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSPropertyListSerialization)

namespace {

/// How one format is known by its first bytes, and read.
struct Format {
  NSPropertyListFormat name;
  bool (*accepts)(std::span<const std::byte> bytes);
  PropertyListReading (*read)(std::span<const std::byte> bytes, NSUInteger options);
};

constexpr Format kFormats[] = {
    {NSPropertyListXMLFormat_v1_0, XMLPropertyListReader::accepts, XMLPropertyListReader::read},
};

const Format* formatOf(std::span<const std::byte> bytes) {
  const auto* found =
      std::ranges::find_if(kFormats, [&](const Format& format) { return format.accepts(bytes); });
  return found == std::end(kFormats) ? nullptr : found;
}

id refuse(const Ref<NSString>& problem, Ref<NSError>* error) {
  if (error != nullptr) {
    *error = NSError::errorWithDomain_code_userInfo(
        NSCocoaErrorDomain, NSPropertyListReadCorruptError,
        NSDictionary::of({{NSLocalizedDescriptionKey, problem}}));
  }
  return nullptr;
}

}  // namespace

id NSPropertyListSerialization::propertyListWithData_options_format_error(
    const Ref<NSData>& data, NSUInteger options, NSPropertyListFormat* format,
    Ref<NSError>* error) {
  if (!data) {
    return refuse("There is no data to read a property list from.", error);
  }
  const Format* found = formatOf(data->span());
  if (found == nullptr) {
    return refuse("The data is in no known property list format, in line 1.", error);
  }
  const PropertyListReading reading = found->read(data->span(), options);
  if (!reading.propertyList) {
    return refuse(reading.problem, error);
  }
  if (format != nullptr) {
    *format = found->name;
  }
  return reading.propertyList;
}

}  // namespace kestova
