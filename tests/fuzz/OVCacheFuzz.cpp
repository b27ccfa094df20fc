// SPDX-License-Identifier: Apache-2.0
// Any sequence of operations on a cache, beside a plain model.
#include <KestovaFoundation/OVCache.h>

#include "../support/ByteChoices.h"
#include "../support/CacheRun.h"

#include <cstdlib>

using namespace kestova::testing;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  ByteChoices choices(bytes, size);
  const auto fixedCount = choices.below(6);
  CacheRun run(fixedCount, choices.below(2) == 1);
  while (choices.areLeft()) {
    if (!run.step(choices)) {
      std::abort();
    }
  }
  return 0;
}
