// SPDX-License-Identifier: Apache-2.0
// Any sequence of operations on a key-path dictionary, beside a plain tree.
#include <KestovaFoundation/OVMutableKeyPathDictionary.h>

#include "../support/ByteChoices.h"
#include "../support/KeyPathRun.h"

#include <cstdlib>

using namespace kestova::testing;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  ByteChoices choices(bytes, size);
  KeyPathRun run;
  while (choices.areLeft()) {
    if (!run.step(choices)) {
      std::abort();
    }
  }
  return 0;
}
