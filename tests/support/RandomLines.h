// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "RandomRun.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kestova::testing {

/// Lines of about that many units, never more: of one writing or of several mixed, with lines that
/// end in one way or in all, and sometimes with surrogates that stand alone.
inline std::u16string randomLines(RandomRun& random, std::size_t length) {
  static const std::vector<std::vector<std::u16string_view>> kWritings = {
      {u"a", u"Z", u"7", u"q", u" ", u".", u"\t"},
      {u"a", u"e", u" ", u"é", u"ß", u"\u00BF", u"\u00FF", u"я", u"\u07FF", u"\u0080"},
      {u"日", u"本", u"語", u"\u0800", u"\uFFFF", u"\uFFFD", u"\uE000", u"\uD7FF", u"、", u"한"},
      {u"😀", u"𝄞", u"\U00010000", u"\U0010FFFF", u"\U0003FFBF", u"a", u" "},
      {u"\xD800", u"\xDBFF", u"\xDC00", u"\xDFFF", u"😀", u"a"},
  };
  static const std::vector<std::vector<std::u16string_view>> kEndings = {
      {u"\n"}, {u"\r"}, {u"\r\n"}, {u"\n", u"\r", u"\r\n"}, {}};
  const auto any = [&](const auto& all) -> const auto& { return all[random.below(all.size())]; };
  const bool mixes = random.below(3) == 0;
  const auto* writing = &any(kWritings);
  const auto& endings = any(kEndings);
  const std::size_t rarity = 1 + random.below(random.below(2) == 0 ? 6 : 80);
  std::u16string text;
  while (true) {
    writing = mixes && random.below(8) == 0 ? &any(kWritings) : writing;
    const bool ends = !endings.empty() && random.below(rarity) == 0;
    const auto next = ends ? any(endings) : any(*writing);
    if (text.size() + next.size() > length) {
      return text;
    }
    text += next;
  }
}

}  // namespace kestova::testing
