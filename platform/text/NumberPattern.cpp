// SPDX-License-Identifier: Apache-2.0
#include "text/NumberPattern.h"

#include <unicode/dcfmtsym.h>

#include <mutex>
#include <string>
#include <variant>
#include <vector>

#include "text/ICULocale.h"
#include "text/ICUText.h"

namespace kestova {
namespace {

/// Null for a malformed pattern.
std::unique_ptr<const icu::DecimalFormat> compile(const NSLocale& locale,
                                                  std::u16string_view pattern) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::DecimalFormatSymbols symbols(knownICULocale(locale), status);
  auto format = std::make_unique<const icu::DecimalFormat>(icuText(pattern), symbols, status);
  return U_FAILURE(status) ? nullptr : std::move(format);
}

std::unique_ptr<const icu::DecimalFormat> compileOrDefault(const NSLocale& locale,
                                                           const Ref<NSString>& pattern) {
  auto format = compile(locale, pattern->utf16());
  return format ? std::move(format) : compile(locale, u"#");
}

/// ICU counts in 63 bits; what is larger is handed over as text.
void append(const icu::DecimalFormat& format, std::uint64_t number, icu::UnicodeString& text) {
  UErrorCode status = U_ZERO_ERROR;
  format.format(icu::StringPiece(std::to_string(number)), text, nullptr, status);
}
void append(const icu::DecimalFormat& format, std::int64_t number, icu::UnicodeString& text) {
  format.format(number, text);
}
void append(const icu::DecimalFormat& format, bool number, icu::UnicodeString& text) {
  format.format(static_cast<std::int64_t>(number), text);
}
void append(const icu::DecimalFormat& format, double number, icu::UnicodeString& text) {
  format.format(number, text);
}

/// The latest patterns, since formatters come and go with each number that is shown.
class LatestPatterns {
 public:
  std::shared_ptr<const NumberPattern> find(const Ref<NSString>& locale,
                                            const Ref<NSString>& pattern) {
    const std::lock_guard lock(mutex_);
    for (const Entry& entry : entries_) {
      if (entry.pattern->isEqualToString(pattern) && entry.locale->isEqualToString(locale)) {
        return entry.compiled;
      }
    }
    return nullptr;
  }

  void add(const Ref<NSString>& locale, const Ref<NSString>& pattern,
           const std::shared_ptr<const NumberPattern>& compiled) {
    constexpr std::size_t kMostEntries = 16;
    const std::lock_guard lock(mutex_);
    if (entries_.size() == kMostEntries) {
      entries_.erase(entries_.begin());
    }
    entries_.push_back({locale, pattern, compiled});
  }

 private:
  struct Entry {
    Ref<NSString> locale;
    Ref<NSString> pattern;
    std::shared_ptr<const NumberPattern> compiled;
  };

  std::mutex mutex_;
  std::vector<Entry> entries_;
};

}  // namespace

std::shared_ptr<const NumberPattern> NumberPattern::of(const NSLocale& locale,
                                                       const Ref<NSString>& pattern) {
  static auto& latest = *new LatestPatterns;
  if (auto known = latest.find(locale.localeIdentifier(), pattern)) {
    return known;
  }
  auto compiled = std::make_shared<const NumberPattern>(locale, pattern);
  latest.add(locale.localeIdentifier(), pattern, compiled);
  return compiled;
}

NumberPattern::NumberPattern(const NSLocale& locale, const Ref<NSString>& pattern)
    : format_(compileOrDefault(locale, pattern)), plain_(PlainDecimal::of(*format_)) {}

Ref<NSString> NumberPattern::text(const NSNumber& number) const {
  if (plain_) {
    if (auto text = plain_->text(number.doubleValue())) {
      return text;
    }
  }
  icu::UnicodeString text;
  std::visit([&](auto value) { append(*format_, value, text); }, number.value());
  return stringOf(text);
}

Ref<NSNumber> NumberPattern::number(const NSString& text) const {
  const std::u16string units = text.utf16();
  const icu::UnicodeString source = icuText(units);
  icu::Formattable result;
  icu::ParsePosition position(0);
  format_->parse(source, result, position);
  if (position.getIndex() == 0 || position.getIndex() != source.length()) {
    return nullptr;
  }
  return result.getType() == icu::Formattable::kDouble
             ? NSNumber::numberWithDouble(result.getDouble())
             : NSNumber::numberWithLongLong(result.getInt64());
}

}  // namespace kestova
