// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSNotification.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/Ref.h>

#include <cstddef>
#include <optional>
#include <string>

#include "bus/BusConnection.h"

namespace kestova {

/// When a distributed notification reaches those who are suspended.
enum class DistributedUrgency { asTheyAsked, atOnce };

/// A distributed notification on its way: what `docs/formats/distributed-notifications.md` tells
/// of. Its object is null or an immutable string.
struct DistributedPosting {
  Ref<NSNotification> notification;
  DistributedUrgency urgency = DistributedUrgency::asTheyAsked;
  /// About what it takes in memory, in bytes.
  std::size_t weight = 0;

  /// Throws NSInvalidArgumentException for what can't be sent.
  static DistributedPosting of(const Ref<NSString>& name, const Ref<NSString>& object,
                               const Ref<NSDictionary>& userInfo, DistributedUrgency urgency);

  /// What a message tells; nothing where it is none of ours or malformed in any way.
  static std::optional<DistributedPosting> read(const BusMessage& message);

  /// The message; null where the connection is lost.
  BusMessage messageFor(const BusConnection& connection) const;
};

/// Whether a message claims to tell of a distributed notification.
bool isDistributedSignal(const BusMessage& message);

/// The rule by which a bus finds the messages that somebody asks for; null for any. It may let
/// through more than these: text that rules can't hold safely is left out.
std::string distributedMatchRule(const Ref<NSString>& name, const Ref<NSString>& object);

}  // namespace kestova
