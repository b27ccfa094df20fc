// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSRegularExpression.h>

#include "object/Reference.h"
#include "text/RegexError.h"
#include "text/RegexSearch.h"
#include "text/ReplacementTemplate.h"
#include "text/TextStorage.h"
#include "values/RangeCheck.h"

#include <limits>
#include <utility>
#include <variant>

namespace kestova {

KESTOVA_DEFINE_CLASS(
    NSRegularExpression,
    .property<&NSRegularExpression::pattern>("pattern")
        .property<&NSRegularExpression::options>("options")
        .property<&NSRegularExpression::numberOfCaptureGroups>("numberOfCaptureGroups"))

namespace {

std::uint32_t flagsForOptions(NSUInteger options) {
  constexpr std::pair<NSUInteger, std::uint32_t> kFlags[] = {
      {NSRegularExpressionCaseInsensitive, UREGEX_CASE_INSENSITIVE},
      {NSRegularExpressionAllowCommentsAndWhitespace, UREGEX_COMMENTS},
      {NSRegularExpressionIgnoreMetacharacters, UREGEX_LITERAL},
      {NSRegularExpressionDotMatchesLineSeparators, UREGEX_DOTALL},
      {NSRegularExpressionAnchorsMatchLines, UREGEX_MULTILINE},
      {NSRegularExpressionUseUnixLineSeparators, UREGEX_UNIX_LINES},
      {NSRegularExpressionUseUnicodeWordBoundaries, UREGEX_UWORD},
  };
  std::uint32_t flags = 0;
  for (const auto& [option, flag] : kFlags) {
    flags |= (options & option) != 0 ? flag : 0;
  }
  return flags;
}

void checkText(const NSRegularExpression& regex, const char* operation, const Ref<NSString>& text,
               NSRange range) {
  checkArgument(regex, operation, text != nullptr);
  checkRange(*text, operation, range, text->length());
}

Ref<NSTextCheckingResult> resultOf(const RegexSearch& search, const NSRegularExpression& regex) {
  std::vector<NSRange> ranges;
  ranges.reserve(static_cast<std::size_t>(search.groupCount()) + 1);
  for (std::int32_t group = 0; group <= search.groupCount(); ++group) {
    ranges.push_back(search.group(group));
  }
  return NSTextCheckingResult::regularExpressionCheckingResultWithRanges_regularExpression(
      std::move(ranges), reference(regex));
}

/// Puts a backslash before each of some ASCII characters.
Ref<NSString> escaped(const char* operation, const Ref<NSString>& string,
                      std::string_view special) {
  if (!string) {
    throw NSException(
        NSInvalidArgumentException,
        NSString::stringWithFormat("+[NSRegularExpression %s]: nil argument", operation));
  }
  return withUnits(*string, [&](auto units) {
    std::basic_string<typename decltype(units)::value_type> result;
    result.reserve(units.size());
    for (const auto unit : units) {
      if (unit < 0x80 && special.find(static_cast<char>(unit)) != std::string_view::npos) {
        result.push_back('\\');
      }
      result.push_back(unit);
    }
    return Ref<NSString>(result);
  });
}

struct Replaced {
  TextStorage text;
  NSUInteger count = 0;
};

/// The text with the matches of a search in it replaced.
Replaced replaceMatches(RegexSearch& search, const NSString& text, const NSString& templ) {
  const ReplacementTemplate replacement(templ, search.groupCount());
  Replaced result;
  NSUInteger end = 0;
  for (; search.findNext(); ++result.count) {
    const NSRange match = search.group(0);
    appendRange(result.text, text, {end, match.location - end});
    replacement.appendTo(result.text, text, [&](auto group) { return search.group(group); });
    end = NSMaxRange(match);
  }
  appendRange(result.text, text, {end, text.length() - end});
  return result;
}

Ref<NSString> stringOf(const TextStorage& storage) {
  return std::visit([](const auto& units) { return Ref<NSString>(units); }, storage);
}

}  // namespace

NSRegularExpression::NSRegularExpression(Ref<NSString> pattern, NSUInteger options,
                                         std::unique_ptr<CompiledRegex> compiled) noexcept
    : pattern_(std::move(pattern)), options_(options), compiled_(std::move(compiled)) {}

NSRegularExpression::~NSRegularExpression() = default;

Ref<NSRegularExpression> NSRegularExpression::regularExpressionWithPattern_options_error(
    const Ref<NSString>& pattern, NSUInteger options, Ref<NSError>* error) {
  if (!pattern) {
    throw NSException(NSInvalidArgumentException,
                      "The pattern of a regular expression is missing.");
  }
  const std::u16string units = pattern->utf16();
  UErrorCode status = U_ZERO_ERROR;
  UParseError place{};
  if (units.size() > std::numeric_limits<std::int32_t>::max()) {
    status = U_REGEX_PATTERN_TOO_BIG;
  }
  RegexMatcher matcher(uregex_open(units.data(), static_cast<std::int32_t>(units.size()),
                                   flagsForOptions(options), &place, &status));
  if (U_FAILURE(status)) {
    if (error != nullptr) {
      *error = errorForPattern(pattern, status, place);
    }
    return nullptr;
  }
  return make<NSRegularExpression>(copyOf(pattern), options,
                                   std::make_unique<CompiledRegex>(std::move(matcher)));
}

Ref<NSString> NSRegularExpression::escapedPatternForString(const Ref<NSString>& string) {
  return escaped("escapedPatternForString:", string, "\\*?+[(){}^$|./");
}

Ref<NSString> NSRegularExpression::escapedTemplateForString(const Ref<NSString>& string) {
  return escaped("escapedTemplateForString:", string, "\\$");
}

void NSRegularExpression::enumerateMatchesInString_options_range_usingBlock(
    const Ref<NSString>& string, NSUInteger options, NSRange range, const MatchBlock& block) const {
  checkText(*this, "enumerateMatchesInString:options:range:usingBlock:", string, range);
  const Ref<NSString> text = copyOf(string);
  bool stop = false;
  const auto report = [&](const Ref<NSTextCheckingResult>& result, NSUInteger flags) {
    block(result, static_cast<NSMatchingFlags>(flags), &stop);
    return !stop;
  };
  RegexSearch::Progress progress;
  if ((options & NSMatchingReportProgress) != 0) {
    progress = [&] { return report(nullptr, NSMatchingProgress); };
  }
  RegexSearch search(*compiled_, *text, options, range, std::move(progress));
  while (!stop && search.findNext()) {
    report(resultOf(search, *this), search.flags());
  }
  if ((options & NSMatchingReportCompletion) != 0) {
    report(nullptr, NSMatchingCompleted | search.flags());
  }
}

Ref<NSArray> NSRegularExpression::matchesInString_options_range(const Ref<NSString>& string,
                                                                NSUInteger options,
                                                                NSRange range) const {
  checkText(*this, "matchesInString:options:range:", string, range);
  const auto matches = NSMutableArray::array();
  RegexSearch search(*compiled_, *string, options, range);
  while (search.findNext()) {
    matches->addObject(resultOf(search, *this));
  }
  return matches;
}

NSUInteger NSRegularExpression::numberOfMatchesInString_options_range(const Ref<NSString>& string,
                                                                      NSUInteger options,
                                                                      NSRange range) const {
  checkText(*this, "numberOfMatchesInString:options:range:", string, range);
  RegexSearch search(*compiled_, *string, options, range);
  NSUInteger count = 0;
  while (search.findNext()) {
    ++count;
  }
  return count;
}

Ref<NSTextCheckingResult> NSRegularExpression::firstMatchInString_options_range(
    const Ref<NSString>& string, NSUInteger options, NSRange range) const {
  checkText(*this, "firstMatchInString:options:range:", string, range);
  RegexSearch search(*compiled_, *string, options, range);
  return search.findNext() ? resultOf(search, *this) : nullptr;
}

NSRange NSRegularExpression::rangeOfFirstMatchInString_options_range(const Ref<NSString>& string,
                                                                     NSUInteger options,
                                                                     NSRange range) const {
  checkText(*this, "rangeOfFirstMatchInString:options:range:", string, range);
  RegexSearch search(*compiled_, *string, options, range);
  return search.findNext() ? search.group(0) : NSRange{NSNotFound, 0};
}

Ref<NSString> NSRegularExpression::stringByReplacingMatchesInString_options_range_withTemplate(
    const Ref<NSString>& string, NSUInteger options, NSRange range,
    const Ref<NSString>& templ) const {
  constexpr const char* kOperation = "stringByReplacingMatchesInString:options:range:withTemplate:";
  checkText(*this, kOperation, string, range);
  checkArgument(*this, kOperation, templ != nullptr);
  RegexSearch search(*compiled_, *string, options, range);
  return stringOf(replaceMatches(search, *string, *templ).text);
}

NSUInteger NSRegularExpression::replaceMatchesInString_options_range_withTemplate(
    const Ref<NSMutableString>& string, NSUInteger options, NSRange range,
    const Ref<NSString>& templ) const {
  constexpr const char* kOperation = "replaceMatchesInString:options:range:withTemplate:";
  checkText(*this, kOperation, string, range);
  checkArgument(*this, kOperation, templ != nullptr);
  RegexSearch search(*compiled_, *string, options, range);
  const auto replaced = replaceMatches(search, *string, *templ);
  if (replaced.count > 0) {
    string->setString(stringOf(replaced.text));
  }
  return replaced.count;
}

Ref<NSString> NSRegularExpression::replacementStringForResult_inString_offset_template(
    const Ref<NSTextCheckingResult>& result, const Ref<NSString>& string, NSInteger offset,
    const Ref<NSString>& templ) const {
  constexpr const char* kOperation = "replacementStringForResult:inString:offset:template:";
  checkArgument(*this, kOperation, result && string && templ);
  TextStorage replaced;
  const ReplacementTemplate replacement(*templ,
                                        static_cast<std::int32_t>(result->numberOfRanges() - 1));
  replacement.appendTo(replaced, *string, [&](std::int32_t group) {
    NSRange range = result->rangeAtIndex(static_cast<NSUInteger>(group));
    range.location += range.location == NSNotFound ? 0 : static_cast<NSUInteger>(offset);
    return range;
  });
  return stringOf(replaced);
}

NSUInteger NSRegularExpression::numberOfCaptureGroups() const noexcept {
  return static_cast<NSUInteger>(compiled_->groupCount());
}

bool NSRegularExpression::isEqual(const id& other) const {
  const auto regex = cast<NSRegularExpression>(other);
  return regex && regex->options_ == options_ && regex->pattern_->isEqualToString(pattern_);
}

NSUInteger NSRegularExpression::hash() const { return pattern_->hash() ^ options_; }

id NSRegularExpression::copy() const { return self(); }

}  // namespace kestova
