// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include <utility>

namespace kestova::testing {

/// Runs something that must throw an NSException of that name, and answers it for a closer look.
template <class Statement>
NSException expectException(const StringConstant& name, Statement&& statement) {
  try {
    std::forward<Statement>(statement)();
  } catch (const NSException& exception) {
    EXPECT_EQ(exception.name(), name);
    return exception;
  }
  ADD_FAILURE() << "nothing was thrown instead of " << name.utf8();
  return NSException("none", "none");
}

}  // namespace kestova::testing
