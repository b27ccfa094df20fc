// SPDX-License-Identifier: Apache-2.0
#include "FormatCommand.h"

#include "ArgumentValue.h"
#include "EachArgument.h"
#include "FileFailure.h"

#include <KestovaFoundation/OVByteFormatter.h>
#include <KestovaFoundation/OVTimeFormatter.h>
#include <KestovaPlatform/NSNumber.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace kestova::tool {
namespace {

void printLine(const Ref<NSString>& text) { std::puts(text->displayUTF8().c_str()); }

/// Formats value by value; one that can't be does not keep the others from it.
template <class Format>
int formatAll(const std::vector<std::string>& values, const Format& format) {
  return forEachArgument(values, [&](const std::string& value) { printLine(format(value)); });
}

class TimeFormatCommand final : public Command {
 public:
  explicit TimeFormatCommand(CLI::App* arguments) : Command(arguments) {
    arguments->add_option("VALUE", values_, "Durations in seconds")->required();
    arguments->add_option("--style", style_, "0 to 3: units, shortest to longest; 4: colons")
        ->option_text("N")
        ->check(CLI::Range(0, 4))
        ->capture_default_str();
    arguments->add_flag("--fractions", showsFractions_, "Show hundredths of a second");
    arguments
        ->add_option("--options", options_, "1: no seconds beside hours; 2: the largest unit only")
        ->option_text("N")
        ->check(CLI::Range(0, 3));
  }

  int run() override {
    const auto formatter = OVTimeFormatter::init();
    formatter->setTimeStyle(style_);
    formatter->setShowsFractions(showsFractions_);
    formatter->setOptions(options_);
    return formatAll(values_, [&](const std::string& value) {
      return formatter->stringForObjectValue(secondsIn(value));
    });
  }

 private:
  static double secondsIn(const std::string& value) {
    constexpr double kLimit = 60 * 0x1p32;
    const auto seconds = numberIn<double>(value);
    if (!seconds) {
      throw FileFailure(value, "not a number of seconds");
    }
    if (!(*seconds >= 0 && *seconds < kLimit)) {
      throw FileFailure(value, "not from 0 to below 257698037760 seconds");
    }
    return *seconds;
  }

  std::vector<std::string> values_;
  unsigned style_ = 3;
  bool showsFractions_ = false;
  unsigned options_ = 0;
};

class ByteFormatCommand final : public Command {
 public:
  explicit ByteFormatCommand(CLI::App* arguments) : Command(arguments) {
    arguments->add_option("VALUE", values_, "Counts of bytes, or texts to read")->required();
    arguments->add_flag("--parse", parses_, "Print the count that each text stands for");
    arguments->footer("A text without a unit counts megabytes.");
  }

  int run() override {
    return formatAll(values_, [&](const std::string& value) {
      return parses_ ? parsed(value) : formatted(value);
    });
  }

 private:
  static Ref<NSString> formatted(const std::string& value) {
    const auto count = numberIn<std::uint64_t>(value);
    if (!count) {
      throw FileFailure(value, "not a count of bytes from 0 to 18446744073709551615");
    }
    return OVByteFormatter::init()->stringForObjectValue(*count);
  }

  static Ref<NSString> parsed(const std::string& value) {
    id count;
    Ref<NSString> problem;
    if (!OVByteFormatter::init()->getObjectValue_forString_errorDescription(
            &count, NSString::stringWithUTF8String(value), &problem)) {
      throw FileFailure(value, problem->displayUTF8());
    }
    return cast<NSNumber>(count)->stringValue();
  }

  std::vector<std::string> values_;
  bool parses_ = false;
};

}  // namespace

void addFormatCommand(CLI::App& app, Commands& commands) {
  CLI::App* format = app.add_subcommand("format", "Write durations and counts of bytes as text");
  format->require_subcommand(1);
  commands.push_back(std::make_unique<TimeFormatCommand>(
      format->add_subcommand("time", "Write durations, one a line")));
  commands.push_back(std::make_unique<ByteFormatCommand>(
      format->add_subcommand("bytes", "Write counts of bytes, or read them, one a line")));
}

}  // namespace kestova::tool
