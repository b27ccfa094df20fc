// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSFormatter.h>
#include <KestovaPlatform/NSTypes.h>

namespace kestova {

/// Which units OVTimeFormatter leaves out, as a sum of bits.
enum OVTimeFormatterOptions : NSUInteger {
  OVTimeFormatterOmitsSecondsAfterHours = 1,  ///< no seconds where there are hours or days
  OVTimeFormatterShowsLargestUnitOnly = 2,    ///< days, else hours, else minutes, else seconds
};

/// Durations as short English text. It only writes.
///
///     const auto formatter = OVTimeFormatter::init();
///     formatter->setTimeStyle(3);
///     formatter->stringForObjectValue(7500);   // "2 hours, 5 minutes"
///
/// | Style | 93784 seconds |
/// |---|---|
/// | 0 | "1d 2h 3m 4s" |
/// | 1 | "1 day 2 hrs 3 mins 4 secs" |
/// | 2 and 3 | "1 day, 2 hours, 3 minutes, 4 seconds" |
/// | 4 | "1 day 2:03:4" |
///
/// In styles 0 to 3 units of which there are none are left out; what is no time at all is "0
/// seconds". In style 4 seconds are deliberately not padded, and without hours neither are the
/// minutes. A style above 4 writes as style 3.
///
/// Threads: one at a time; several formatters serve several threads.
class KESTOVA_FOUNDATION_EXPORT OVTimeFormatter : public NSFormatter {
  KESTOVA_CLASS(OVTimeFormatter, NSFormatter)

 public:
  /// Style 0, without fractions, with all units.
  static Ref<OVTimeFormatter> init();

  /// The text for a number of seconds: an NSNumber, or the number that an NSString begins with.
  /// Null is 0, any other object gives null.
  ///
  /// Minutes are counted in 32 bits: negative durations and those of 2^32 minutes and more wrap
  /// around, and what is not finite or has no place in 64 bits is 0.
  Ref<NSString> stringForObjectValue(const id& object) const override;

  /// The style, 0 to 4; a greater one is kept, and writes as 3.
  NSUInteger timeStyle() const noexcept { return mTimeStyle; }
  void setTimeStyle(NSUInteger style);

  /// Whether seconds have two decimals, with a point in every locale. In styles 0 to 3 they have
  /// them only where the fraction is above 0.01; a smaller one still makes seconds count as
  /// present.
  bool showsFractions() const noexcept { return mShowsFractions; }
  void setShowsFractions(bool shows);

  /// A sum of OVTimeFormatterOptions. In style 4 they make no difference.
  NSUInteger options() const noexcept { return mOptions; }
  void setOptions(NSUInteger options);

 protected:
  OVTimeFormatter() = default;

 private:
  struct _OVTimeFormatterParts;

  _OVTimeFormatterParts partsOf(double seconds) const;
  Ref<NSString> _stringInEnglishStyleForParts(const _OVTimeFormatterParts& parts) const;
  Ref<NSString> _stringInColonStyleForParts(const _OVTimeFormatterParts& parts) const;

  NSUInteger mTimeStyle = 0;
  bool mShowsFractions = false;
  NSUInteger mOptions = 0;
};

}  // namespace kestova
