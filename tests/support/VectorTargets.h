// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cstdint>

namespace kestova::testing {

/// Runs `check` with every instruction set that this processor has, from plain code to the widest
/// vectors.
template <class Check>
void forEachVectorTarget(Check&& check) {
  const std::int64_t all = hwy::SupportedTargets();
  for (std::int64_t rest = all; rest != 0; rest &= rest - 1) {
    const std::int64_t target = rest & -rest;
    SCOPED_TRACE(hwy::TargetName(target));
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(target);
    check();
  }
  hwy::SetSupportedTargetsForTest(0);
  hwy::GetChosenTarget().Update(all);
}

}  // namespace kestova::testing
