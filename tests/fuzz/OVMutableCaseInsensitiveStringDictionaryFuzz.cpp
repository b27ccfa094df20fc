// SPDX-License-Identifier: Apache-2.0
// Any sequence of operations on a case-insensitive dictionary, beside a plain model.
#include <KestovaFoundation/OVMutableCaseInsensitiveStringDictionary.h>

#include "../support/ByteChoices.h"
#include "../support/StringDictionaryRun.h"

#include <cstdlib>

using namespace kestova::testing;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  ByteChoices choices(bytes, size);
  StringDictionaryRun run;
  while (choices.areLeft()) {
    if (!run.step(choices)) {
      std::abort();
    }
  }
  return 0;
}
