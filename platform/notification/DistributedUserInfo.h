// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/Ref.h>

#include <cstddef>

#include "bus/BusMessage.h"

namespace kestova {

/// What a user info may weigh: each value and each key 16, and its bytes where it is text (in
/// UTF-8) or data.
inline constexpr std::size_t kHeaviestUserInfo = std::size_t(64) << 10;

/// How many containers may lie in each other, the user info itself counted.
inline constexpr int kDeepestUserInfo = 16;

/// A user info that a distributed notification can carry, with what it weighs. Immutable to its
/// last value; null weighs nothing.
struct DistributedUserInfo {
  Ref<NSDictionary> values;
  std::size_t weight = 0;

  /// A copy of what is there now. Throws NSInvalidArgumentException where it is no property list,
  /// holds text that a message can't, or is too heavy or too deep.
  static DistributedUserInfo of(const Ref<NSDictionary>& values);

  /// Reads the values of a message where an array of named variants comes next. False when there is
  /// anything else in it, or too much: this is what reads what strangers send.
  bool read(const BusMessage& message);

  /// Writes the values so. Null is written as no values.
  bool append(const BusMessage& message) const;
};

}  // namespace kestova
