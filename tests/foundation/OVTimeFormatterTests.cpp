// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVTimeFormatter.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"
#include "RandomRun.h"
#include "Sanitizers.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

namespace kestova {
namespace {

struct Settings {
  NSUInteger style = 0;
  bool showsFractions = false;
  NSUInteger options = 0;
};

Ref<OVTimeFormatter> formatterWith(const Settings& settings) {
  const auto formatter = OVTimeFormatter::init();
  formatter->setTimeStyle(settings.style);
  formatter->setShowsFractions(settings.showsFractions);
  formatter->setOptions(settings.options);
  return formatter;
}

Ref<NSString> text(double seconds, const Settings& settings) {
  return formatterWith(settings)->stringForObjectValue(seconds);
}

// Shows: stringForObjectValue, setTimeStyle
TEST(OVTimeFormatterTests, EveryUnitIsListedInTheWordsOfTheStyle) {
  EXPECT_EQ(text(90061, {3}), "1 day, 1 hour, 1 minute, 1 second");
  EXPECT_EQ(text(90061, {2}), "1 day, 1 hour, 1 minute, 1 second");
  EXPECT_EQ(text(90061, {1}), "1 day 1 hr 1 min 1 sec");
  EXPECT_EQ(text(90061, {0}), "1d 1h 1m 1s");
  EXPECT_EQ(text(183845, {3}), "2 days, 3 hours, 4 minutes, 5 seconds");
  EXPECT_EQ(text(183845, {1}), "2 days 3 hrs 4 mins 5 secs");
  EXPECT_EQ(text(183845, {0}), "2d 3h 4m 5s");
}

// Shows: stringForObjectValue
TEST(OVTimeFormatterTests, NothingFollowsTheLastUnit) {
  EXPECT_EQ(text(7200, {3}), "2 hours");
  EXPECT_EQ(text(172800, {3}), "2 days");
  EXPECT_EQ(text(180, {1}), "3 mins");
  EXPECT_EQ(text(86405, {3}), "1 day, 5 seconds");
}

// Shows: stringForObjectValue
TEST(OVTimeFormatterTests, NoTimeAtAllIsZeroSeconds) {
  EXPECT_EQ(text(0, {3}), "0 seconds");
  EXPECT_EQ(text(0, {2}), "0 seconds");
  EXPECT_EQ(text(0, {1}), "0 secs");
  EXPECT_EQ(text(0, {0}), "0s");
  EXPECT_EQ(text(0, {4}), "0:0");
  EXPECT_EQ(text(1, {3}), "1 second");
}

// Shows: setOptions, stringForObjectValue
TEST(OVTimeFormatterTests, OptionsLeaveUnitsOut) {
  EXPECT_EQ(text(3725, {3, false, 1}), "1 hour, 2 minutes");
  EXPECT_EQ(text(86405, {3, false, 1}), "1 day");
  EXPECT_EQ(text(65, {3, false, 1}), "1 minute, 5 seconds");
  EXPECT_EQ(text(3725, {3, false, 2}), "1 hour");
  EXPECT_EQ(text(90061, {3, false, 2}), "1 day");
  EXPECT_EQ(text(125, {3, false, 2}), "2 minutes");
  EXPECT_EQ(text(45, {3, false, 2}), "45 seconds");
  EXPECT_EQ(text(90061, {3, false, 3}), "1 day");
}

// Shows: setShowsFractions, stringForObjectValue
TEST(OVTimeFormatterTests, HundredthsAreShownAboveOneHundredth) {
  EXPECT_EQ(text(1.5, {3, true}), "1.50 seconds");
  EXPECT_EQ(text(1.5, {3, false}), "1 second");
  EXPECT_EQ(text(1.005, {3, true}), "1 second");
  EXPECT_EQ(text(0.5, {0, true}), "0.50s");
  EXPECT_EQ(text(0.5, {1, true}), "0.50 secs");
  EXPECT_EQ(text(59.999, {3, true}), "60.00 seconds");
  EXPECT_EQ(text(0.01, {3, true}), "0 seconds");
  EXPECT_EQ(text(0.0101, {3, true}), "0.01 seconds");
  EXPECT_EQ(text(1, {3, true}), "1 second");
}

// Shows: setShowsFractions, stringForObjectValue
TEST(OVTimeFormatterTests, AnyFractionMakesSecondsCountAsPresent) {
  EXPECT_EQ(text(60.005, {3, true}), "1 minute, 0 seconds");
  EXPECT_EQ(text(60.005, {3, false}), "1 minute");
  EXPECT_EQ(text(60.5, {3, true}), "1 minute, 0.50 seconds");
  EXPECT_EQ(text(60, {3, true}), "1 minute");
  EXPECT_EQ(text(7200, {3, true}), "2 hours");
}

// Shows: stringForObjectValue, setTimeStyle
TEST(OVTimeFormatterTests, TheColonFormPadsMinutesAfterHoursOnly) {
  EXPECT_EQ(text(3723, {4}), "1:02:3");
  EXPECT_EQ(text(3903, {4}), "1:05:3");
  EXPECT_EQ(text(63, {4}), "1:3");
  EXPECT_EQ(text(90000, {4}), "1 day 1:00:0");
  EXPECT_EQ(text(172800, {4}), "2 days 0:00:0");
  EXPECT_EQ(text(7503, {4}), "2:05:3");
}

// Shows: setShowsFractions, stringForObjectValue
TEST(OVTimeFormatterTests, TheColonFormShowsHundredthsOfAnyFraction) {
  EXPECT_EQ(text(63.25, {4, true}), "1:3.25");
  EXPECT_EQ(text(63, {4, true}), "1:3.00");
  EXPECT_EQ(text(3723.001, {4, true}), "1:02:3.00");
}

// Shows: setOptions, stringForObjectValue
TEST(OVTimeFormatterTests, OptionsMakeNoDifferenceInTheColonForm) {
  for (const NSUInteger options : {1, 2, 3}) {
    EXPECT_EQ(text(93784, {4, false, options}), "1 day 2:03:4");
    EXPECT_EQ(text(3723, {4, false, options}), "1:02:3");
    EXPECT_EQ(text(63, {4, false, options}), "1:3");
  }
}

// Shows: setTimeStyle, stringForObjectValue
TEST(OVTimeFormatterTests, StylesAboveTheLastOneAreTheThird) {
  EXPECT_EQ(text(7500, {5}), "2 hours, 5 minutes");
  EXPECT_EQ(text(7500, {std::numeric_limits<NSUInteger>::max()}), "2 hours, 5 minutes");
}

// Shows: init, timeStyle, showsFractions, options
TEST(OVTimeFormatterTests, ANewFormatterHasStyleZeroWithoutFractionsAndOptions) {
  const auto formatter = OVTimeFormatter::init();
  EXPECT_EQ(formatter->timeStyle(), 0U);
  EXPECT_FALSE(formatter->showsFractions());
  EXPECT_EQ(formatter->options(), 0U);
}

// Shows: setTimeStyle, setShowsFractions, setOptions, timeStyle, showsFractions, options
TEST(OVTimeFormatterTests, SettingsAreKept) {
  const auto formatter = formatterWith({4, true, 3});
  EXPECT_EQ(formatter->timeStyle(), 4U);
  EXPECT_TRUE(formatter->showsFractions());
  EXPECT_EQ(formatter->options(), 3U);
  formatter->setShowsFractions(false);
  EXPECT_FALSE(formatter->showsFractions());
}

// Shows: stringForObjectValue
TEST(OVTimeFormatterTests, NullIsZeroAndWhatHasANumberIsFormatted) {
  const auto formatter = formatterWith({3});
  EXPECT_EQ(formatter->stringForObjectValue(nullptr), "0 seconds");
  EXPECT_EQ(formatter->stringForObjectValue("90 s"), "1 minute, 30 seconds");
  EXPECT_EQ(formatter->stringForObjectValue(60U), "1 minute");
  EXPECT_EQ(formatter->editingStringForObjectValue(60), "1 minute");
  EXPECT_FALSE(formatter->stringForObjectValue(NSArray::array()));
}

// Shows: stringForObjectValue
TEST(OVTimeFormatterTests, DurationsOutOfRangeWrapAround) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(text(-1, {0}), "2982616d 4h 15m 59s");
  EXPECT_EQ(text(4294967296.0 * 60, {3}), "0 seconds");
  EXPECT_EQ(text(4294967296.0 * 60 + 61, {3}), "1 minute, 1 second");
  for (const double value : {kInfinity, -kInfinity, std::nan(""), 1e300, -1e300}) {
    EXPECT_EQ(text(value, {3, true}), "0 seconds") << value;
    EXPECT_EQ(text(value, {4, true}), "0:0.00") << value;
  }
}

// Shows: OVTimeFormatter
TEST(OVTimeFormatterTests, ItDoesNotReadText) {
  testing::expectException(NSInvalidArgumentException, [] {
    OVTimeFormatter::init()->getObjectValue_forString_errorDescription(nullptr, "1 second");
  });
}

// Shows: timeStyle, showsFractions, options
TEST(OVTimeFormatterTests, SettingsCanBeSetAndReadByKey) {
  const auto formatter = OVTimeFormatter::init();
  formatter->setValue_forKey(4, "timeStyle");
  formatter->setValue_forKey(true, "showsFractions");
  EXPECT_EQ(formatter->stringForObjectValue(61.5), "1:1.50");
  EXPECT_TRUE(formatter->valueForKey("options")->isEqual(0));
}

/// The same in plain steps.
class PlainText {
 public:
  PlainText(double seconds, const Settings& settings) : settings_(settings) {
    const double whole = std::floor(seconds);
    f_ = seconds - whole;
    const auto minutes = static_cast<unsigned>(whole / 60);
    s_ = static_cast<unsigned>(whole - 60.0 * minutes);
    m_ = minutes;
    if (minutes >= 60) {
      h_ = minutes / 60;
      m_ = minutes % 60;
      if (minutes >= 1440) {
        d_ = minutes / 1440;
        h_ = minutes / 60 - 24 * d_;
        showsD_ = true;
      }
    }
    showsH_ = h_ != 0;
    showsM_ = m_ != 0;
    showsS_ = s_ != 0 || (settings.showsFractions && f_ > 0);
    if ((settings.options & 1) != 0 && (h_ != 0 || showsD_)) showsS_ = false;
    if ((settings.options & 2) != 0) {
      if (showsD_) {
        showsH_ = showsM_ = false;
      } else if (h_ != 0) {
        showsM_ = showsS_ = false;
      }
      if (showsD_ || (h_ == 0 && m_ != 0)) showsS_ = false;
    }
  }

  std::string text() const { return settings_.style == 4 ? colons() : words(); }

 private:
  static std::string hundredths(double number) {
    char text[64];
    std::snprintf(text, sizeof text, "%0.2f", number);
    return text;
  }

  std::string unit(unsigned number, const char* label, bool hasSeparator) const {
    return std::to_string(number) + L() + label + (number != 1 ? plural() : "") +
           (hasSeparator ? U() : "");
  }

  const char* L() const { return settings_.style == 0 ? "" : " "; }
  const char* U() const { return settings_.style < 2 ? " " : ", "; }
  const char* plural() const { return settings_.style == 0 ? "" : "s"; }
  const char* label(const char* third, const char* first, const char* zeroth) const {
    return settings_.style == 0 ? zeroth : settings_.style == 1 ? first : third;
  }

  std::string words() const {
    std::string text;
    if (showsD_) text += unit(d_, label("day", "day", "d"), showsH_ || showsM_ || showsS_);
    if (showsH_) text += unit(h_, label("hour", "hr", "h"), showsM_ || showsS_);
    if (showsM_) text += unit(m_, label("minute", "min", "m"), showsS_);
    if (!showsS_ && !text.empty()) return text;
    const char* second = label("second", "sec", "s");
    if (settings_.showsFractions && f_ > 0.01) {
      return text + hundredths(s_ + f_) + L() + second + (s_ + f_ == 1.0 ? "" : plural());
    }
    return text + unit(s_, second, false);
  }

  std::string colons() const {
    const std::string seconds = settings_.showsFractions ? hundredths(s_ + f_) : std::to_string(s_);
    std::string text = showsD_ ? std::to_string(d_) + (d_ < 2 ? " day " : " days ") : "";
    if (showsD_ || showsH_) {
      text += std::to_string(h_) + (m_ < 10 ? ":0" : ":");
    }
    return text + std::to_string(m_) + ":" + seconds;
  }

  Settings settings_;
  unsigned d_ = 0, h_ = 0, m_ = 0, s_ = 0;
  double f_ = 0;
  bool showsD_ = false, showsH_ = false, showsM_ = false, showsS_ = false;
};

// Shows: stringForObjectValue
TEST(OVTimeFormatterTests, EverySecondOfTenDaysIsAsInPlainSteps) {
  for (NSUInteger style = 0; style <= 4; ++style) {
    for (NSUInteger options = 0; options < 4; ++options) {
      const Settings settings{style, false, options};
      const auto formatter = formatterWith(settings);
      const int step = (options == 0 ? 1 : 13) * testing::caseStride;
      for (int seconds = 0; seconds < 10 * 86400; seconds += step) {
        ASSERT_EQ(*formatter->stringForObjectValue(seconds)->UTF8String(),
                  PlainText(seconds, settings).text());
      }
    }
  }
}

// Shows: setShowsFractions, stringForObjectValue
TEST(OVTimeFormatterTests, FractionsAreAsInPlainSteps) {
  testing::RandomRun random;
  for (int turn = 0; turn < 100'000; ++turn) {
    const Settings settings{random.below(5), true, random.below(4)};
    const double seconds = static_cast<double>(random.below(200'000'000)) / 1000;
    ASSERT_EQ(*text(seconds, settings)->UTF8String(), PlainText(seconds, settings).text())
        << seconds << " in style " << settings.style << " with " << settings.options;
  }
}

}  // namespace
}  // namespace kestova
