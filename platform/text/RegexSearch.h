// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSRegularExpression.h>
#include <unicode/uregex.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>

namespace kestova {

struct CloseRegex {
  void operator()(URegularExpression* regex) const noexcept { uregex_close(regex); }
};
/// A pattern with the state of one search. Only one thread may use it at a time.
using RegexMatcher = std::unique_ptr<URegularExpression, CloseRegex>;

/// A compiled pattern, which lends matchers to searches on any thread. It keeps one that came back,
/// so that only searches at the same time need several.
class CompiledRegex {
 public:
  explicit CompiledRegex(RegexMatcher pattern);
  ~CompiledRegex();
  CompiledRegex(const CompiledRegex&) = delete;
  CompiledRegex& operator=(const CompiledRegex&) = delete;

  std::int32_t groupCount() const noexcept { return groupCount_; }

  /// Null when there is no memory.
  RegexMatcher lend() const;
  void takeBack(RegexMatcher matcher) const;

 private:
  const RegexMatcher pattern_;
  const std::int32_t groupCount_;
  mutable std::atomic<URegularExpression*> spare_{nullptr};
};

/// One search for all matches in a range of a text, which must neither change nor go meanwhile.
///
///     RegexSearch search(regex, text, options, range);
///     while (search.findNext()) use(search.group(0));
///
/// Cost: bounded in processor time and memory; see NSRegularExpression.
class RegexSearch {
 public:
  /// Called now and then during a long search; false ends it.
  using Progress = std::function<bool()>;

  /// `options` is a sum of NSMatchingOptions; the range lies in the text.
  RegexSearch(const CompiledRegex& regex, const NSString& text, NSUInteger options, NSRange range,
              Progress progress = {});
  ~RegexSearch();
  RegexSearch(const RegexSearch&) = delete;
  RegexSearch& operator=(const RegexSearch&) = delete;

  /// Whether there is one more match. What `progress` throws comes out here.
  bool findNext();

  /// The range of a group of the match, 0 being all of it; {NSNotFound, 0} for one that took no
  /// part.
  NSRange group(std::int32_t number) const;

  std::int32_t groupCount() const noexcept { return regex_.groupCount(); }

  /// A sum of NSMatchingHitEnd, NSMatchingRequiredEnd and NSMatchingInternalError.
  NSUInteger flags() const;

 private:
  void open(const NSString& text);
  bool match();
  bool goesOn() noexcept;

  const CompiledRegex& regex_;
  RegexMatcher matcher_;
  const NSUInteger options_;
  const bool widensMuch_;
  const Progress progress_;
  /// How much processor time the search may take, and when that is over; set when it turns out
  /// long.
  const std::chrono::nanoseconds allowance_;
  std::chrono::nanoseconds deadline_{0};
  UErrorCode status_ = U_ZERO_ERROR;
  bool isFirst_ = true;
  bool wasStopped_ = false;
  std::exception_ptr thrown_;
};

}  // namespace kestova
