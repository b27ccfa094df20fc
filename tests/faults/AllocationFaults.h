// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <new>

#include "Faults.h"

namespace kestova::testing {

/// Runs `attempt` with each of its allocations failing once in turn, until it is through without
/// one. Behind each run `check(threw)` looks at what it left behind. Answers how many runs threw.
///
/// What is made on first use and kept is made by a run before that, with nothing failing: the last
/// run alone would tell of it otherwise.
template <typename Attempt, typename Check>
int walkAllocations(Attempt attempt, Check check) {
  attempt();
  check(false);
  int refused = 0;
  bool threw = false;
  walkFaults(
      FaultyCall::allocation, Fault::failing(ENOMEM), FaultyThreads::own,
      [&] {
        threw = false;
        try {
          attempt();
        } catch (const std::bad_alloc&) {
          threw = true;
        }
      },
      [&](bool) {
        refused += threw ? 1 : 0;
        check(threw);
      });
  return refused;
}

}  // namespace kestova::testing
