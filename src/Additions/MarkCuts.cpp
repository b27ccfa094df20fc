// SPDX-License-Identifier: Apache-2.0
#include "Additions/MarkCuts.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kestova {
namespace {

/// Whether a unit is of the blocks of combining diacritical marks. Two of them are not meant: one
/// is ignored by comparisons, the other one becomes a letter where case is.
bool isMark(char16_t unit) {
  return (unit >= 0x300 && unit <= 0x36F && unit != 0x345 && unit != 0x34F) ||
         (unit >= 0x1AB0 && unit <= 0x1ABD) || (unit >= 0x1DC0 && unit <= 0x1DFF) ||
         (unit >= 0x20D0 && unit <= 0x20DC) || (unit >= 0xFE20 && unit <= 0xFE2F);
}

}  // namespace

std::u16string MarkCuts::shorten(std::u16string_view text, std::size_t kept) {
  std::u16string result;
  for (auto unit = text.begin(); unit != text.end();) {
    const auto mark = std::find_if(unit, text.end(), isMark);
    const auto end = std::find_if_not(mark, text.end(), isMark);
    result.append(unit, mark);
    if (static_cast<std::size_t>(end - mark) > 2 * kept) {
      const auto first = std::next(mark, static_cast<std::ptrdiff_t>(kept / 2));
      const auto last = std::prev(end, static_cast<std::ptrdiff_t>(kept - kept / 2));
      result.append(mark, first);
      cuts_.push_back({result.size(), std::u16string(first, last)});
      result.append(last, end);
    } else {
      result.append(mark, end);
    }
    unit = end;
  }
  return result;
}

std::u16string MarkCuts::restored(std::u16string_view text) const {
  std::u16string result;
  std::size_t done = 0;
  for (const Cut& cut : cuts_) {
    result.append(text, done, cut.place - done);
    result.append(cut.marks);
    done = cut.place;
  }
  return result.append(text, done);
}

void MarkCuts::replace(NSRange range, NSUInteger length) {
  auto cut = cuts_.rbegin();
  for (; cut != cuts_.rend() && cut->place >= NSMaxRange(range); ++cut) {
    cut->place = cut->place - range.length + length;
  }
  const auto within = std::find_if(cut, cuts_.rend(),
                                   [&](const Cut& each) { return each.place <= range.location; });
  cuts_.erase(within.base(), cut.base());
}

MarkCuts MarkCuts::takeBefore(NSUInteger index) {
  MarkCuts taken;
  for (; !cuts_.empty() && cuts_.front().place < index; cuts_.pop_front()) {
    taken.cuts_.push_back(std::move(cuts_.front()));
  }
  return taken;
}

MarkCuts MarkCuts::takeFrom(NSUInteger index) {
  MarkCuts taken;
  for (; !cuts_.empty() && cuts_.back().place >= index; cuts_.pop_back()) {
    taken.cuts_.push_front({cuts_.back().place - index, std::move(cuts_.back().marks)});
  }
  return taken;
}

void MarkCuts::append(MarkCuts more, NSUInteger from, NSUInteger to) {
  for (Cut& cut : more.cuts_) {
    cuts_.push_back({cut.place - from + to, std::move(cut.marks)});
  }
}

}  // namespace kestova
