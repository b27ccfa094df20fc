// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Clock.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSString.h>

#include "object/Reference.h"
#include "values/NumberText.h"
#include "values/RangeCheck.h"

#include <chrono>
#include <cmath>
#include <functional>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSDate)

namespace {

/// From the years 1 to 2001, and from 2001 to 4001: five times the calendar's period of 400 years.
constexpr NSTimeInterval kTwoThousandYears = 730485 * 86400.0;

/// The years 1 to 10000: what is written as a date.
bool isWithinCalendar(NSTimeInterval seconds) {
  return seconds >= -kTwoThousandYears && seconds < 4 * kTwoThousandYears;
}

}  // namespace

Ref<NSDate> NSDate::date() { return dateWithTimeIntervalSinceNow(0); }

Ref<NSDate> NSDate::dateWithTimeIntervalSinceNow(NSTimeInterval seconds) {
  return make<NSDate>(CFAbsoluteTimeGetCurrent() + seconds);
}

Ref<NSDate> NSDate::dateWithTimeIntervalSinceReferenceDate(NSTimeInterval seconds) {
  return make<NSDate>(seconds);
}

Ref<NSDate> NSDate::dateWithTimeIntervalSince1970(NSTimeInterval seconds) {
  return make<NSDate>(seconds - NSTimeIntervalSince1970);
}

Ref<NSDate> NSDate::dateWithTimeInterval_sinceDate(NSTimeInterval seconds,
                                                   const Ref<NSDate>& date) {
  checkArgument(*distantPast(), "dateWithTimeInterval:sinceDate:", date != nullptr);
  return date->dateByAddingTimeInterval(seconds);
}

Ref<NSDate> NSDate::distantPast() { return make<NSDate>(-kTwoThousandYears); }

Ref<NSDate> NSDate::distantFuture() { return make<NSDate>(kTwoThousandYears); }

NSTimeInterval NSDate::timeIntervalSinceNow() const {
  return seconds_ - CFAbsoluteTimeGetCurrent();
}

NSTimeInterval NSDate::timeIntervalSinceDate(const Ref<NSDate>& other) const {
  checkArgument(*this, "timeIntervalSinceDate:", other != nullptr);
  return seconds_ - other->seconds_;
}

Ref<NSDate> NSDate::dateByAddingTimeInterval(NSTimeInterval seconds) const {
  return make<NSDate>(seconds_ + seconds);
}

NSComparisonResult NSDate::compare(const Ref<NSDate>& other) const {
  checkArgument(*this, "compare:", other != nullptr);
  return seconds_ < other->seconds_   ? NSOrderedAscending
         : seconds_ > other->seconds_ ? NSOrderedDescending
                                      : NSOrderedSame;
}

Ref<NSDate> NSDate::earlierDate(const Ref<NSDate>& other) const {
  return other && other->seconds_ < seconds_ ? other : reference(*this);
}

Ref<NSDate> NSDate::laterDate(const Ref<NSDate>& other) const {
  return other && other->seconds_ > seconds_ ? other : reference(*this);
}

bool NSDate::isEqualToDate(const Ref<NSDate>& other) const {
  return other && seconds_ == other->seconds_;
}

bool NSDate::isEqual(const id& other) const {
  return other == self() || isEqualToDate(cast<NSDate>(other));
}

NSUInteger NSDate::hash() const { return std::hash<double>()(seconds_); }

Ref<NSString> NSDate::description() const {
  using namespace std::chrono;
  if (!isWithinCalendar(seconds_)) {
    return numberText(seconds_) + " s after 2001-01-01 00:00:00 +0000";
  }
  constexpr sys_seconds kReference{sys_days{2001y / January / 1}};
  const auto moment = kReference + seconds(static_cast<std::int64_t>(std::floor(seconds_)));
  const auto day = floor<days>(moment);
  const year_month_day date(day);
  const hh_mm_ss time(moment - day);
  return NSString::stringWithFormat(
      "%04d-%02u-%02u %02ld:%02ld:%02ld +0000", int(date.year()), unsigned(date.month()),
      unsigned(date.day()), time.hours().count(), time.minutes().count(), time.seconds().count());
}

id NSDate::copy() const { return self(); }

}  // namespace kestova
