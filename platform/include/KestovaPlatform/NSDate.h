// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

namespace kestova {

/// Seconds from 1970-01-01 to the reference date 2001-01-01, both 00:00 UTC.
inline constexpr NSTimeInterval NSTimeIntervalSince1970 = 978307200.0;

/// A moment: seconds, with fractions, since the reference date 2001-01-01 00:00 UTC. Leap seconds
/// are not counted.
///
///     Ref<NSDate> deadline = NSDate::dateWithTimeIntervalSinceNow(5);
///     while (deadline->timeIntervalSinceNow() > 0) …
///
/// "Now" is what Clock.h says it is.
///
/// Threads: immutable, so any number of them may read one date at a time.
class KESTOVA_PLATFORM_EXPORT NSDate : public NSObject {
  KESTOVA_CLASS(NSDate, NSObject)

 public:
  /// \name Making
  /// All intervals are in seconds; negative ones lie before.
  /// @{

  /// Now.
  static Ref<NSDate> date();
  static Ref<NSDate> init() { return date(); }

  static Ref<NSDate> dateWithTimeIntervalSinceNow(NSTimeInterval seconds);
  static Ref<NSDate> dateWithTimeIntervalSinceReferenceDate(NSTimeInterval seconds);
  static Ref<NSDate> dateWithTimeIntervalSince1970(NSTimeInterval seconds);

  /// `date` null throws NSInvalidArgumentException.
  static Ref<NSDate> dateWithTimeInterval_sinceDate(NSTimeInterval seconds,
                                                    const Ref<NSDate>& date);

  /// 0001-01-01 and 4001-01-01: earlier and later than any moment that programs deal with.
  static Ref<NSDate> distantPast();
  static Ref<NSDate> distantFuture();

  /// @}
  /// \name Reading
  /// @{
  NSTimeInterval timeIntervalSinceReferenceDate() const noexcept { return seconds_; }
  NSTimeInterval timeIntervalSince1970() const noexcept {
    return seconds_ + NSTimeIntervalSince1970;
  }

  /// Negative for a moment that has passed.
  NSTimeInterval timeIntervalSinceNow() const;

  /// Negative when this moment is the earlier one. Null throws NSInvalidArgumentException.
  NSTimeInterval timeIntervalSinceDate(const Ref<NSDate>& other) const;

  /// @}

  Ref<NSDate> dateByAddingTimeInterval(NSTimeInterval seconds) const;

  /// \name Comparing
  /// @{

  /// Null throws NSInvalidArgumentException.
  NSComparisonResult compare(const Ref<NSDate>& other) const;

  /// The earlier and the later one of the two; this one when they are the same moment or when the
  /// other is null.
  Ref<NSDate> earlierDate(const Ref<NSDate>& other) const;
  Ref<NSDate> laterDate(const Ref<NSDate>& other) const;

  /// Whether both are exactly the same moment. Null is equal to nothing.
  bool isEqualToDate(const Ref<NSDate>& other) const;

  bool isEqual(const id& other) const override;
  NSUInteger hash() const override;

  /// @}

  /// "2001-01-01 00:00:00 +0000", always in UTC, the fraction of the second cut off; outside the
  /// years 1 to 10000 the seconds as a number.
  Ref<NSString> description() const override;

  /// This date itself.
  id copy() const override;

 protected:
  explicit NSDate(NSTimeInterval seconds) noexcept : seconds_(seconds) {}

 private:
  /// Since the reference date.
  const NSTimeInterval seconds_;
};

}  // namespace kestova
