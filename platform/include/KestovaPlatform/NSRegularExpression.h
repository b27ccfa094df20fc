// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTextCheckingResult.h>

#include <memory>

namespace kestova {

class CompiledRegex;
class NSError;

/// How a pattern is read, as a sum of bits.
enum NSRegularExpressionOptions : NSUInteger {
  NSRegularExpressionCaseInsensitive = 1,
  NSRegularExpressionAllowCommentsAndWhitespace = 2,  ///< blanks don't count, # begins a comment
  NSRegularExpressionIgnoreMetacharacters = 4,        ///< the whole pattern stands for itself
  NSRegularExpressionDotMatchesLineSeparators = 8,
  NSRegularExpressionAnchorsMatchLines = 16,      ///< ^ and $ match at every line
  NSRegularExpressionUseUnixLineSeparators = 32,  ///< only LF ends a line
  NSRegularExpressionUseUnicodeWordBoundaries = 64,
};

/// How a text is searched, as a sum of bits.
enum NSMatchingOptions : NSUInteger {
  NSMatchingReportProgress = 1,         ///< the block is called now and then while a search is long
  NSMatchingReportCompletion = 2,       ///< the block is called once more at the end
  NSMatchingAnchored = 4,               ///< only a match at the start of the range counts
  NSMatchingWithTransparentBounds = 8,  ///< look-around and \b see beyond the range
  NSMatchingWithoutAnchoringBounds = 16,  ///< ^ and $ don't match at the range's ends as such
};

/// What a block is told about the search, as a sum of bits.
enum NSMatchingFlags : NSUInteger {
  NSMatchingProgress = 1,        ///< the search goes on; there is no result
  NSMatchingCompleted = 2,       ///< the search is over; there is no result
  NSMatchingHitEnd = 4,          ///< the last attempt looked at the end of the range
  NSMatchingRequiredEnd = 8,     ///< the last match would be another if the text went on
  NSMatchingInternalError = 16,  ///< the search gave up before its end
};

/// A pattern of text, in the syntax of ICU.
///
///     Ref<NSError> error;
///     auto regex = NSRegularExpression::regularExpressionWithPattern_options_error(
///         "(\\w+)@(\\w+)", 0, &error);
///     regex->stringByReplacingMatchesInString_options_range_withTemplate(
///         text, 0, {0, text->length()}, "$2 at $1");
///
/// All ranges count UTF-16 units of the text. `options` of a search is a sum of NSMatchingOptions,
/// 0 for none. For every search: a null text throws NSInvalidArgumentException, a range past its
/// end NSRangeException. An empty match counts as one, and the search goes on behind it.
///
/// Threads: immutable; any number of threads may search with one at a time.
///
/// Cost: the pattern is compiled once. A pattern may be of a kind that takes exponentially long, so
/// a search gives up after 2 s of processor time and 10 µs more for each unit of the range, or when
/// its backtracking needs more than 64 MiB: what it has found until then is the answer. The same
/// goes for more than 2147483647 units in UTF-16 storage, in which nothing is found. Text in 8-bit
/// storage is widened as the search goes on, no more than a few times what it looks at.
class KESTOVA_PLATFORM_EXPORT NSRegularExpression : public NSObject {
  KESTOVA_CLASS(NSRegularExpression, NSObject)

 public:
  /// What an enumeration calls: with each match, what is known of the search, and a flag that ends
  /// it when it is set. Only with the report options the result may be null; the flags tell why.
  using MatchBlock =
      Block<void(const Ref<NSTextCheckingResult>& result, NSMatchingFlags flags, bool* stop)>;

  /// \name Making
  /// @{

  /// The expression of a pattern; `options` is a sum of NSRegularExpressionOptions. Null and an
  /// error in NSCocoaErrorDomain (NSFormattingError, the pattern as NSInvalidValue in its user
  /// info, and the reason) for what is no pattern; the empty one is none. A null pattern throws
  /// NSInvalidArgumentException.
  static Ref<NSRegularExpression> regularExpressionWithPattern_options_error(
      const Ref<NSString>& pattern, NSUInteger options, Ref<NSError>* error = nullptr);

  /// A pattern that matches just that text: a backslash before each of \ * ? + [ ( ) { } ^ $ | . /.
  /// Null throws NSInvalidArgumentException.
  static Ref<NSString> escapedPatternForString(const Ref<NSString>& string);

  /// A template that stands for just that text: a backslash before each $ and \. Null throws
  /// NSInvalidArgumentException.
  static Ref<NSString> escapedTemplateForString(const Ref<NSString>& string);

  /// @}
  /// \name Finding
  /// @{

  /// Calls the block for each match from the front, on this thread. It may change the text: the one
  /// that was given is searched.
  void enumerateMatchesInString_options_range_usingBlock(const Ref<NSString>& string,
                                                         NSUInteger options, NSRange range,
                                                         const MatchBlock& block) const;

  /// All matches as NSTextCheckingResult, from the front.
  Ref<NSArray> matchesInString_options_range(const Ref<NSString>& string, NSUInteger options,
                                             NSRange range) const;
  NSUInteger numberOfMatchesInString_options_range(const Ref<NSString>& string, NSUInteger options,
                                                   NSRange range) const;

  /// The first match; null when there is none.
  Ref<NSTextCheckingResult> firstMatchInString_options_range(const Ref<NSString>& string,
                                                             NSUInteger options,
                                                             NSRange range) const;

  /// Where the first match stands; {NSNotFound, 0} when there is none.
  NSRange rangeOfFirstMatchInString_options_range(const Ref<NSString>& string, NSUInteger options,
                                                  NSRange range) const;

  /// @}
  /// \name Replacing
  ///
  /// In a template, $ and a number stand for what the group of that number matched: nothing when it
  /// took no part, or when there is no such group. The number goes on for as many digits as make
  /// the number of a group, so "$12" is group 1 and a 2 where there are fewer than 12. A backslash
  /// takes its meaning from the unit behind it; a $ before no digit and a backslash at the end
  /// stand for themselves. A null template throws NSInvalidArgumentException.
  /// @{

  /// The whole text with each match in the range replaced.
  Ref<NSString> stringByReplacingMatchesInString_options_range_withTemplate(
      const Ref<NSString>& string, NSUInteger options, NSRange range,
      const Ref<NSString>& templ) const;

  /// The same in place; answers how many matches there were.
  NSUInteger replaceMatchesInString_options_range_withTemplate(const Ref<NSMutableString>& string,
                                                               NSUInteger options, NSRange range,
                                                               const Ref<NSString>& templ) const;

  /// What one match is replaced with. `offset` is how far the text has moved against the result's
  /// ranges since the search; a range that then lies past the end throws NSRangeException.
  Ref<NSString> replacementStringForResult_inString_offset_template(
      const Ref<NSTextCheckingResult>& result, const Ref<NSString>& string, NSInteger offset,
      const Ref<NSString>& templ) const;

  /// @}

  const Ref<NSString>& pattern() const noexcept { return pattern_; }
  NSUInteger options() const noexcept { return options_; }
  NSUInteger numberOfCaptureGroups() const noexcept;

  /// Whether both have the same pattern and options.
  bool isEqual(const id& other) const override;
  NSUInteger hash() const override;
  id copy() const override;

 protected:
  NSRegularExpression(Ref<NSString> pattern, NSUInteger options,
                      std::unique_ptr<CompiledRegex> compiled) noexcept;
  ~NSRegularExpression() override;

 private:
  const Ref<NSString> pattern_;
  const NSUInteger options_;
  const std::unique_ptr<CompiledRegex> compiled_;
};

}  // namespace kestova
