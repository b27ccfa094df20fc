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
/// The binary format keeps everything: integers from -2^63 to 2^64-1 and real numbers apart, floats
/// and doubles, truth values, dates to the fraction, unpaired surrogates in strings. What is equal
/// among strings, data, dates and numbers of a kind is written once, and so is a container that is
/// there several times. A dictionary whose one key is "CF$UID", with an integer that is not
/// negative, stands for the UIDs of archives, both ways.
///
/// The XML format is one `plist` element with one value: `dict` (`key` and value in turn; of equal
/// keys the last one counts), `array`, `string`, `integer` (decimal or, after 0x, hexadecimal, from
/// -2^63 to 2^64-1), `real`, `true`, `false`, `date` (2001-01-31T12:00:00Z) and `data` (Base64,
/// white space in it doesn't count). Attributes, comments and the document type don't count either;
/// no file that it names is read. Keys are written in their order. Dates lose the fraction of their
/// second; texts with characters that XML lacks and dates outside the years 0 to 9999 can't be
/// written.
///
/// The bytes may come from anywhere: containers nest at most 512 deep (in what is written, too),
/// entities can't be declared, and memory stays in proportion to the data. In the binary format a
/// container that several others refer to is one object, unless it is to be mutable, when each use
/// has its own; a list that would have more than 65536 objects and 16 for each of its bytes then is
/// refused, whatever the options, and so is one that needs more than 16 MiB and 16 times its size
/// for strings and data. A list that shares as much is not written either, in any format: 65536
/// objects and 16 for each one in a container, when what is shared counts as often as it is used.
///
/// Threads: any number at a time; while it is written nobody may change the list. Time and memory
/// grow with the data.
class KESTOVA_PLATFORM_EXPORT NSPropertyListSerialization : public NSObject {
  KESTOVA_CLASS(NSPropertyListSerialization, NSObject)

 public:
  /// Reads a property list in whatever format it is. `options` is one of
  /// NSPropertyListMutabilityOptions.
  ///
  /// Answers the value at the top and sets `format` to the format found; or answers null, leaves
  /// `format`, and sets `error` to NSPropertyListReadCorruptError with a description that names the
  /// fault and its line in XML, its byte in the binary format. Null data is such a fault. A binary
  /// format of another version is NSPropertyListReadUnknownVersionError. Both out-parameters may be
  /// null.
  static id propertyListWithData_options_format_error(const Ref<NSData>& data, NSUInteger options,
                                                      NSPropertyListFormat* format = nullptr,
                                                      Ref<NSError>* error = nullptr);

  /// Writes a property list. `options` is 0.
  ///
  /// Answers null and sets `error` to NSPropertyListWriteInvalidError, with a description that
  /// names the fault and the way to it from the top (`["windows"][3]`), for an object of another
  /// class, a key that is no string, a container that holds itself, nests too deep or is shared too
  /// often, a date that is not finite, what the format has no form for, and an unknown format.
  /// `error` may be null.
  static Ref<NSData> dataWithPropertyList_format_options_error(const id& propertyList,
                                                               NSPropertyListFormat format,
                                                               NSUInteger options,
                                                               Ref<NSError>* error = nullptr);

  /// Whether it can be written in that format. Costs as much as writing it.
  static bool propertyList_isValidForFormat(const id& propertyList, NSPropertyListFormat format);

  /// \name The same with the description of the error instead of the error
  /// The description is left alone when there is none to tell; it may be null, as `format` may.
  /// @{
  static id propertyListFromData_mutabilityOption_format_errorDescription(
      const Ref<NSData>& data, NSUInteger option, NSPropertyListFormat* format = nullptr,
      Ref<NSString>* errorDescription = nullptr);
  static Ref<NSData> dataFromPropertyList_format_errorDescription(
      const id& propertyList, NSPropertyListFormat format,
      Ref<NSString>* errorDescription = nullptr);
  /// @}

 protected:
  NSPropertyListSerialization() = default;
};

}  // namespace kestova
