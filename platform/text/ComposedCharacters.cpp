// SPDX-License-Identifier: Apache-2.0
#include "text/ComposedCharacters.h"

#include <KestovaPlatform/Contract.h>
#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>
#include <unicode/utf16.h>

#include <memory>

namespace kestova {
namespace {

/// ICU's rules of character boundaries over the text that this thread looked at last. Making the
/// rules costs far more than applying them, so each thread keeps them.
///
/// ICU counts with 32 bits: of a longer text it is shown a slice, whose beginning counts as a
/// boundary. Slices are cut so far from what is asked for that nothing depends on the cut.
class BoundaryRules {
 public:
  BoundaryRules() {
    UErrorCode status = U_ZERO_ERROR;
    rules_.reset(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    require(U_SUCCESS(status) != 0, "ICU knows the boundaries of characters");
  }

  bool isBoundary(std::u16string_view text, std::uint64_t identity, std::size_t index) {
    if (identity != identity_ || index < start_ || index - start_ > kSlice) {
      show(text, index);
      identity_ = identity;
    }
    return rules_->isBoundary(static_cast<std::int32_t>(index - start_)) != 0;
  }

 private:
  static constexpr std::size_t kSlice = std::size_t{1} << 29;

  void show(std::u16string_view text, std::size_t index) {
    start_ = index <= kSlice ? 0 : index - kSlice / 2;
    const auto slice = text.substr(start_, 2 * kSlice);
    UErrorCode status = U_ZERO_ERROR;
    UText view = UTEXT_INITIALIZER;
    utext_openUChars(&view, slice.data(), static_cast<std::int64_t>(slice.size()), &status);
    rules_->setText(&view, status);
    utext_close(&view);
    require(U_SUCCESS(status) != 0, "ICU can read a text");
  }

  std::unique_ptr<icu::BreakIterator> rules_;
  std::uint64_t identity_ = 0;
  std::size_t start_ = 0;
};

/// Whether a character of this kind neither joins another of it nor is joined by one.
bool standsAlone(UChar32 character) {
  return u_getIntPropertyValue(character, UCHAR_GRAPHEME_CLUSTER_BREAK) == U_GCB_OTHER;
}

std::uint64_t nextIdentity() noexcept {
  static thread_local std::uint64_t last = 0;
  return ++last;
}

}  // namespace

ComposedCharacters::ComposedCharacters(std::u16string_view text) noexcept
    : text_(text), identity_(nextIdentity()) {}

bool ComposedCharacters::isBoundaryOf(std::size_t index) const {
  if (U16_IS_LEAD(text_[index - 1]) && U16_IS_TRAIL(text_[index])) {
    return false;
  }
  UChar32 before;
  UChar32 after;
  U16_GET(text_.data(), 0, index - 1, text_.size(), before);
  U16_GET(text_.data(), 0, index, text_.size(), after);
  if (standsAlone(before) && standsAlone(after)) {
    return true;
  }
  static thread_local BoundaryRules rules;
  return rules.isBoundary(text_, identity_, index);
}

}  // namespace kestova
