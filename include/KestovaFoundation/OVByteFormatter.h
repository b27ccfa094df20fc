// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSFormatter.h>
#include <KestovaPlatform/NSNumberFormatter.h>

namespace kestova {

/// Counts of bytes as short text with a unit, and such text as a count.
///
///     const auto formatter = OVByteFormatter::init();
///     formatter->stringForObjectValue(1536);   // "1.5 KB"
///
/// The units are "Bytes", "KB", "MB" and "GB", in steps of 1024; they are neither translated nor
/// made plural, and there is none above. A count stays in a unit up to 1024 of it: 1048576 is "1024
/// KB", 1048577 is "1 MB". The decimal separator is that of the current locale.
///
/// Threads: one at a time for each formatter.
class KESTOVA_FOUNDATION_EXPORT OVByteFormatter : public NSFormatter {
  KESTOVA_CLASS(OVByteFormatter, NSFormatter)

 public:
  /// One with the pattern that comes first below.
  static Ref<OVByteFormatter> init();

  /// The pattern of the number, as NSNumberFormatter has them, of which a copy is kept. Null, as at
  /// first, is "###0.#": at most one decimal, no grouping.
  const Ref<NSString>& numberFormat() const noexcept { return mNumberFormat; }
  void setNumberFormat(const Ref<NSString>& format);

  /// The text for an NSNumber, read as an unsigned 64-bit count, or for the 32-bit integer that an
  /// NSString begins with; any other object and null are 0. A negative number becomes a huge count.
  Ref<NSString> stringForObjectValue(const id& object) const override;

  /// Null: the text has no looks.
  id attributedStringForObjectValue_withDefaultAttributes(
      const id& object, const Ref<NSDictionary>& attributes) const override;

  /// Reads a number, with a point in every locale, and one of the units or "B" in any case, with
  /// white space before either. Without a unit, or with another one, the number deliberately counts
  /// megabytes. What follows is not looked at.
  ///
  /// Stores an NSNumber with an unsigned 64-bit count, its fraction cut off; a count below 0 is 0,
  /// one too great the greatest. Fails only for text that does not begin with a number, and for
  /// null: with the main bundle's text for "Couldn't convert to bytes".
  bool getObjectValue_forString_errorDescription(
      id* object, const Ref<NSString>& string,
      Ref<NSString>* errorDescription = nullptr) const override;

 protected:
  OVByteFormatter();

 private:
  Ref<NSString> mNumberFormat;
  Ref<NSNumberFormatter> formatter_;  // writes by that pattern
};

}  // namespace kestova
