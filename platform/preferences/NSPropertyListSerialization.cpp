// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>

#include "preferences/BinaryPropertyListReader.h"
#include "preferences/BinaryPropertyListWriter.h"
#include "preferences/PropertyListFault.h"
#include "preferences/XMLPropertyListReader.h"
#include "preferences/XMLPropertyListWriter.h"

#include <algorithm>
#include <span>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSPropertyListSerialization)

namespace {

/// How one format is known by its first bytes, read and written.
struct Format {
  NSPropertyListFormat name;
  bool (*accepts)(std::span<const std::byte> bytes);
  id (*read)(std::span<const std::byte> bytes, NSUInteger options);
  Ref<NSData> (*write)(const id& propertyList);
};

constexpr Format kFormats[] = {
    {NSPropertyListBinaryFormat_v1_0, BinaryPropertyListReader::accepts,
     BinaryPropertyListReader::read, BinaryPropertyListWriter::write},
    {NSPropertyListXMLFormat_v1_0, XMLPropertyListReader::accepts, XMLPropertyListReader::read,
     XMLPropertyListWriter::write},
};

const Format& formatOf(const Ref<NSData>& data) {
  if (!data) {
    throw PropertyListFault{"There is no data to read a property list from."};
  }
  const auto* found = std::ranges::find_if(
      kFormats, [&](const Format& format) { return format.accepts(data->span()); });
  if (found == std::end(kFormats)) {
    throw PropertyListFault{"The data is in no known property list format, in line 1."};
  }
  return *found;
}

const Format& formatNamed(NSPropertyListFormat name) {
  const auto* found = std::ranges::find(kFormats, name, &Format::name);
  if (found == std::end(kFormats)) {
    throw PropertyListFault{
        NSString::stringWithFormat("There is no property list format %lu to write.", name),
        NSPropertyListWriteInvalidError};
  }
  return *found;
}

/// What the operation answers; null, and the fault told, when it throws one.
template <class Operation>
auto attempt(Ref<NSError>* error, const Operation& operation) -> decltype(operation()) {
  try {
    return operation();
  } catch (const PropertyListFault& fault) {
    if (error != nullptr) {
      *error = NSError::errorWithDomain_code_userInfo(
          NSCocoaErrorDomain, fault.code,
          NSDictionary::of({{NSLocalizedDescriptionKey, fault.problem},
                            {NSDebugDescriptionErrorKey, fault.problem}}));
    }
    return nullptr;
  }
}

/// Hands out what an error says, if there is one and somebody asked.
void describe(const Ref<NSError>& error, Ref<NSString>* description) {
  if (error && description != nullptr) {
    *description = error->localizedDescription();
  }
}

}  // namespace

id NSPropertyListSerialization::propertyListWithData_options_format_error(
    const Ref<NSData>& data, NSUInteger options, NSPropertyListFormat* format,
    Ref<NSError>* error) {
  return attempt(error, [&] {
    const Format& found = formatOf(data);
    const id propertyList = found.read(data->span(), options);
    if (format != nullptr) {
      *format = found.name;
    }
    return propertyList;
  });
}

Ref<NSData> NSPropertyListSerialization::dataWithPropertyList_format_options_error(
    const id& propertyList, NSPropertyListFormat format, NSUInteger, Ref<NSError>* error) {
  return attempt(error, [&] { return formatNamed(format).write(propertyList); });
}

bool NSPropertyListSerialization::propertyList_isValidForFormat(const id& propertyList,
                                                                NSPropertyListFormat format) {
  return dataWithPropertyList_format_options_error(propertyList, format, 0) != nullptr;
}

id NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
    const Ref<NSData>& data, NSUInteger option, NSPropertyListFormat* format,
    Ref<NSString>* errorDescription) {
  Ref<NSError> error;
  const id propertyList = propertyListWithData_options_format_error(data, option, format, &error);
  describe(error, errorDescription);
  return propertyList;
}

Ref<NSData> NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(
    const id& propertyList, NSPropertyListFormat format, Ref<NSString>* errorDescription) {
  Ref<NSError> error;
  const auto data = dataWithPropertyList_format_options_error(propertyList, format, 0, &error);
  describe(error, errorDescription);
  return data;
}

}  // namespace kestova
