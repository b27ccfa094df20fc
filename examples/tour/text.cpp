// SPDX-License-Identifier: Apache-2.0
// text: reads a note of unknown encoding, tidies its lines, and writes it back as UTF-8.
#include <KestovaFoundation/Additions/NSDataAdditions.h>
#include <KestovaFoundation/Additions/NSStringEditing.h>
#include <KestovaFoundation/Additions/NSStringEncodingStuff.h>
#include <KestovaFoundation/Additions/NSStringSearching.h>
#include <KestovaFoundation/Additions/NSStringWordLineCounter.h>

#include <iostream>

using namespace kestova;

Ref<NSString> decoded(const Ref<NSData>& data) {
  const CFStringEncoding encoding = guessStringEncodingForData(data);
  const auto text =
      stringWithData_encoding(data, CFStringConvertEncodingToNSStringEncoding(encoding));
  return ov_stringByRemovingPrefix_options(text, "\uFEFF", NSLiteralSearch);  // the mark
}

Ref<NSString> tidied(const Ref<NSString>& text) {
  const auto lines = stringByNormalizingLineEndings(text, OVLineEndingLF);
  return stringBySqueezingOccurrencesOfString_options(lines, " ", 0);
}

int main() {
  // "Café" in UTF-16 with its mark, as an editor elsewhere has saved it.
  const auto bytes = NSData_HexAdditions::dataFromHexString("FFFE 4300 6100 6600 E900");
  std::cout << decoded(bytes) << '\n';

  const auto text = tidied("milk   and bread\r\ntea\rbutter\r\n");
  std::cout << lineCountWithLineEnding(text, OVLineEndingLF) - 1 << " lines, " << wordCount(text)
            << " words\n"
            << stringByPrefixingLinesWith(text, "> ");

  const NSRange place = lineAndCharacterPositionAtIndex_withLineEnding(text, 18, OVLineEndingLF);
  std::cout << "line " << place.location << ", column " << place.length << '\n';

  const auto file = dataUsingCFStringEncoding_addBOM(text, kCFStringEncodingUTF8, true);
  std::cout << file->length() << " bytes, MD5 " << MD5(file) << '\n';
}
