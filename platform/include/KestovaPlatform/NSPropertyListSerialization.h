// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

namespace kestova {

/// How much of what is read can be changed.
enum NSPropertyListMutabilityOptions : NSUInteger {
  NSPropertyListImmutable = 0,
  NSPropertyListMutableContainers = 1,           ///< arrays and dictionaries
  NSPropertyListMutableContainersAndLeaves = 2,  ///< strings and data as well, but for keys
};

/// How a property list is written down.
enum NSPropertyListFormat : NSUInteger {
  NSPropertyListXMLFormat_v1_0 = 100,
  NSPropertyListBinaryFormat_v1_0 = 200,
};

/// Property lists: trees of dictionaries with strings as keys, arrays, strings, numbers, truth
/// values, dates and data, written down as bytes.
///
///     Ref<NSError> error;
///     const id settings = NSPropertyListSerialization::propertyListWithData_options_format_error(
///         NSData::dataWithContentsOfFile(path), NSPropertyListImmutable, nullptr, &error);
///     if (!settings) { … error->localizedDescription() … }
///
/// The XML format is read so far. It is one `plist` element with one value: `dict` (`key` and value
/// in turn; of equal keys the last one counts), `array`, `string`, `integer` (decimal or, after 0x,
/// hexadecimal, from -2^63 to 2^64-1), `real`, `true`, `false`, `date` (2001-01-31T12:00:00Z) and
/// `data` (Base64, white space in it doesn't count). Attributes, comments and the document type
/// don't count either; no file that it names is read.
///
/// The bytes may come from anywhere: containers nest at most 512 deep, entities can't be declared,
/// and memory stays in proportion to the data.
///
/// Threads: any number at a time. Time and memory grow with the data.
class KESTOVA_PLATFORM_EXPORT NSPropertyListSerialization : public NSObject {
  KESTOVA_CLASS(NSPropertyListSerialization, NSObject)

 public:
  /// Reads a property list in whatever format it is. `options` is one of
  /// NSPropertyListMutabilityOptions.
  ///
  /// Answers the value at the top and sets `format` to the format found; or answers null, leaves
  /// `format`, and sets `error` to NSPropertyListReadCorruptError with a description that names the
  /// fault and its line. Null data is such a fault. Both out-parameters may be null.
  static id propertyListWithData_options_format_error(const Ref<NSData>& data, NSUInteger options,
                                                      NSPropertyListFormat* format = nullptr,
                                                      Ref<NSError>* error = nullptr);

 protected:
  NSPropertyListSerialization() = default;
};

}  // namespace kestova
