// SPDX-License-Identifier: Apache-2.0
#include "text/RegexSearch.h"

#include "text/ASCIIText.h"
#include "text/TextStorage.h"

#include <algorithm>
#include <ctime>
#include <limits>
#include <utility>

namespace kestova {
namespace {

using std::chrono::nanoseconds;

/// What backtracking may take, and what a matcher keeps of it between searches.
constexpr std::int32_t kStackLimit = 64 << 20;
constexpr std::int32_t kIdleStackLimit = 64 << 10;

/// Of longer ones a matcher would keep what it has widened.
constexpr NSUInteger kLongestIdleText = 4096;

nanoseconds processorTime() noexcept {
  timespec now{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return std::chrono::seconds(now.tv_sec) + nanoseconds(now.tv_nsec);
}

/// No more than fits, whatever range is asked for.
nanoseconds allowanceFor(NSUInteger length) {
  constexpr NSUInteger kMany = NSUInteger{1} << 40;
  return std::chrono::seconds(2) +
         std::chrono::microseconds(10) * static_cast<std::int64_t>(std::min(length, kMany));
}

class OpenText {
 public:
  OpenText(std::string_view ascii, UErrorCode& status) { openASCIIText(&text_, ascii, &status); }
  OpenText(std::u16string_view units, UErrorCode& status) {
    if (units.size() > std::numeric_limits<std::int32_t>::max()) {
      status = U_INDEX_OUTOFBOUNDS_ERROR;
    } else {
      utext_openUChars(&text_, units.data(), static_cast<std::int64_t>(units.size()), &status);
    }
  }
  ~OpenText() { utext_close(&text_); }
  OpenText(const OpenText&) = delete;
  OpenText& operator=(const OpenText&) = delete;

  UText* get() { return &text_; }

 private:
  UText text_ = UTEXT_INITIALIZER;
};

/// As ICU takes it.
UBool truth(NSUInteger value) { return value == 0 ? 0 : 1; }

NSUInteger flagIf(bool holds, NSMatchingFlags flag) { return holds ? NSUInteger{flag} : 0; }

std::int32_t countGroups(const RegexMatcher& pattern) {
  UErrorCode status = U_ZERO_ERROR;
  return uregex_groupCount(pattern.get(), &status);
}

}  // namespace

CompiledRegex::CompiledRegex(RegexMatcher pattern)
    : pattern_(std::move(pattern)), groupCount_(countGroups(pattern_)) {}

CompiledRegex::~CompiledRegex() { RegexMatcher gone(spare_.load()); }

RegexMatcher CompiledRegex::lend() const {
  RegexMatcher matcher(spare_.exchange(nullptr, std::memory_order_acquire));
  if (!matcher) {
    UErrorCode status = U_ZERO_ERROR;
    matcher.reset(uregex_clone(pattern_.get(), &status));
  }
  return matcher;
}

void CompiledRegex::takeBack(RegexMatcher matcher) const {
  UErrorCode status = U_ZERO_ERROR;
  uregex_setStackLimit(matcher.get(), kIdleStackLimit, &status);
  const RegexMatcher gone(spare_.exchange(matcher.release(), std::memory_order_acq_rel));
}

RegexSearch::RegexSearch(const CompiledRegex& regex, const NSString& text, NSUInteger options,
                         NSRange range, Progress progress)
    : regex_(regex),
      matcher_(regex.lend()),
      options_(options),
      widensMuch_(text.isEightBit() && text.length() > kLongestIdleText),
      progress_(std::move(progress)),
      allowance_(allowanceFor(range.length)) {
  if (!matcher_) {
    status_ = U_MEMORY_ALLOCATION_ERROR;
    return;
  }
  open(text);
  URegularExpression* matcher = matcher_.get();
  const auto start = static_cast<std::int64_t>(range.location);
  uregex_setRegion64(matcher, start, start + static_cast<std::int64_t>(range.length), &status_);
  uregex_useTransparentBounds(matcher, truth(options & NSMatchingWithTransparentBounds), &status_);
  uregex_useAnchoringBounds(matcher, truth(~options & NSMatchingWithoutAnchoringBounds), &status_);
}

RegexSearch::~RegexSearch() {
  if (!matcher_) {
    return;
  }
  if (widensMuch_) {
    UErrorCode status = U_ZERO_ERROR;
    uregex_setText(matcher_.get(), u"", 0, &status);
  }
  regex_.takeBack(std::move(matcher_));
}

void RegexSearch::open(const NSString& text) {
  uregex_setStackLimit(matcher_.get(), kStackLimit, &status_);
  // ICU's frames can't be unwound, so nothing may be thrown through them.
  const auto callback = [](const void* search, std::int32_t) -> UBool {
    return truth(static_cast<RegexSearch*>(const_cast<void*>(search))->goesOn());
  };
  uregex_setMatchCallback(matcher_.get(), callback, this, &status_);
  withUnits(text, [&](auto units) {
    OpenText opened(units, status_);
    uregex_setUText(matcher_.get(), opened.get(), &status_);
  });
}

/// Called by ICU after each ten thousand steps or so.
bool RegexSearch::goesOn() noexcept {
  if (deadline_ == nanoseconds::zero()) {
    deadline_ = processorTime() + allowance_;
  }
  try {
    wasStopped_ = progress_ && !progress_();
  } catch (...) {
    wasStopped_ = true;
    thrown_ = std::current_exception();
  }
  return !wasStopped_ && processorTime() < deadline_;
}

bool RegexSearch::match() {
  const bool isFirst = std::exchange(isFirst_, false);
  if ((options_ & NSMatchingAnchored) != 0) {
    return isFirst && uregex_lookingAt64(matcher_.get(), -1, &status_);
  }
  return uregex_findNext(matcher_.get(), &status_);
}

bool RegexSearch::findNext() {
  if (U_FAILURE(status_)) {
    return false;
  }
  const bool found = match();
  if (thrown_) {
    std::rethrow_exception(std::exchange(thrown_, nullptr));
  }
  return found && U_SUCCESS(status_);
}

NSRange RegexSearch::group(std::int32_t number) const {
  UErrorCode status = U_ZERO_ERROR;
  const std::int64_t start = uregex_start64(matcher_.get(), number, &status);
  const std::int64_t end = uregex_end64(matcher_.get(), number, &status);
  return start < 0 ? NSRange{NSNotFound, 0}
                   : NSRange{static_cast<NSUInteger>(start), static_cast<NSUInteger>(end - start)};
}

NSUInteger RegexSearch::flags() const {
  if (U_FAILURE(status_)) {
    return flagIf(!wasStopped_, NSMatchingInternalError);
  }
  UErrorCode status = U_ZERO_ERROR;
  return flagIf(uregex_hitEnd(matcher_.get(), &status), NSMatchingHitEnd) |
         flagIf(uregex_requireEnd(matcher_.get(), &status), NSMatchingRequiredEnd);
}

}  // namespace kestova
