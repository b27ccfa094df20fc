// SPDX-License-Identifier: Apache-2.0
// Any text: escapes, line endings, pieces and runs come out as their steps one after the other
// tell, and a pattern taken from the text itself comes to an end. The first byte chooses where the
// text is cut in two.
#include <KestovaFoundation/Additions/NSStringEditing.h>
#include <KestovaFoundation/Additions/NSStringSearching.h>
#include <KestovaPlatform/NSException.h>

#include "../support/PlainStringEditing.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace kestova;
using namespace kestova::testing;

namespace {

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

void checkSteps(const Ref<NSString>& text, const Ref<NSString>& other) {
  require(stringByUnescapingString(text)->utf16() == unescapedBySteps(text->utf16()));
  for (const auto kind : {OVLineEndingLF, OVLineEndingCR, OVLineEndingCRLF}) {
    require(stringByNormalizingLineEndings(text, kind)->utf16() ==
            withLineEndingsBySteps(text, kind));
  }
  const auto pieces = splitBySteps(text->utf16(), other->utf16());
  const auto answered = componentsSeparatedByCharactersInString(text, other);
  require(answered->count() == pieces.size());
  for (NSUInteger index = 0; index < pieces.size(); ++index) {
    require(cast<NSString>(answered->objectAtIndex(index)) == std::u16string_view(pieces[index]));
  }
  for (const NSUInteger options :
       {NSUInteger{0}, NSUInteger{NSCaseInsensitiveSearch}, NSUInteger{NSBackwardsSearch}}) {
    require(stringBySqueezingOccurrencesOfString_options(text, other, options)->utf16() ==
            squeezedBySteps(text, other, options));
  }
}

void checkPattern(const Ref<NSString>& text, const Ref<NSString>& pattern, NSUInteger options) {
  try {
    const auto group = ov_matchedStringForRegex_groupAtIndex_options(text, pattern, 0, options);
    require(!group || (group->length() > 0 && text->containsString(group)) ||
            text->rangeOfString_options(group, NSLiteralSearch).location != NSNotFound);
  } catch (const NSException& exception) {
    require(exception.reason() == "Invalid regex pattern");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  if (size < 2 || size > 2048) {
    return 0;
  }
  const std::string_view input(reinterpret_cast<const char*>(bytes) + 2, size - 2);
  const auto split = std::min<std::size_t>(bytes[0], input.size());
  const auto other = NSString::stringWithFileSystemRepresentation(input.substr(0, split));
  const auto text = NSString::stringWithFileSystemRepresentation(input.substr(split));
  checkSteps(text, other);
  checkSteps(NSString::stringWithUTF16Storage(text->utf16()), other);
  checkPattern(text, other, bytes[1] & 0x7FU);
  return 0;
}
