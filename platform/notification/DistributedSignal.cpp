// SPDX-License-Identifier: Apache-2.0
#include "notification/DistributedSignal.h"

#include <KestovaPlatform/NSException.h>

#include <cstdint>
#include <string_view>
#include <utility>

#include "notification/DistributedUserInfo.h"

namespace kestova {
namespace {

constexpr char kPath[] = "/org/kestova/DistributedNotifications";
constexpr char kInterface[] = "org.kestova.DistributedNotifications1";
constexpr char kMember[] = "Posted";
constexpr char kSignature[] = "ssua{sv}";

/// The bits of a message's third value. The others are for the future, and ignored.
constexpr std::uint32_t kAtOnce = 1;
constexpr std::uint32_t kWithoutObject = 2;
constexpr std::uint32_t kWithoutUserInfo = 4;

/// Of a name or object, in UTF-8.
constexpr std::size_t kLongestText = 1024;
/// Buses refuse rules of more than 1024 bytes.
constexpr std::size_t kLongestTextInRule = 256;

/// What a notification takes besides its user info, about.
constexpr std::size_t kOwnWeight = 256;

std::string checkedText(const Ref<NSString>& text) {
  auto utf8 = text->UTF8String();
  if (!utf8 || utf8->size() > kLongestText || utf8->find('\0') != std::string::npos) {
    throw NSException(
        NSInvalidArgumentException,
        "The name or object of a distributed notification is too long or can't be sent");
  }
  return *std::move(utf8);
}

DistributedPosting posting(const Ref<NSString>& name, const Ref<NSString>& object,
                           const DistributedUserInfo& userInfo, DistributedUrgency urgency) {
  return {NSNotification::notificationWithName_object_userInfo(name, object, userInfo.values),
          urgency, kOwnWeight + userInfo.weight};
}

std::string argument(const char* key, const Ref<NSString>& text) {
  const auto utf8 = text ? text->UTF8String() : std::nullopt;
  const bool isSafe = utf8 && utf8->size() <= kLongestTextInRule &&
                      utf8->find_first_of(std::string_view("'\\\0", 3)) == std::string::npos;
  return isSafe ? std::string(key) + *utf8 + "'" : std::string();
}

}  // namespace

DistributedPosting DistributedPosting::of(const Ref<NSString>& name, const Ref<NSString>& object,
                                          const Ref<NSDictionary>& userInfo,
                                          DistributedUrgency urgency) {
  checkedText(name);
  if (object) {
    checkedText(object);
  }
  return posting(name, copyOf(object), DistributedUserInfo::of(userInfo), urgency);
}

std::optional<DistributedPosting> DistributedPosting::read(const BusMessage& message) {
  std::string name;
  std::string object;
  std::uint32_t bits = 0;
  DistributedUserInfo userInfo;
  if (!isDistributedSignal(message) || message.signature() != kSignature ||
      !message.read(name, object, bits) || name.size() > kLongestText ||
      object.size() > kLongestText || !userInfo.read(message)) {
    return std::nullopt;
  }
  if ((bits & kWithoutUserInfo) != 0) {
    userInfo = {};
  }
  const Ref<NSString> told = (bits & kWithoutObject) != 0 ? nullptr : Ref<NSString>(object);
  return posting(
      name, told, userInfo,
      (bits & kAtOnce) != 0 ? DistributedUrgency::atOnce : DistributedUrgency::asTheyAsked);
}

BusMessage DistributedPosting::messageFor(const BusConnection& connection) const {
  const BusMessage message = connection.newSignal(kPath, kInterface, kMember);
  const auto object = cast<NSString>(notification->object());
  const std::uint32_t bits = (urgency == DistributedUrgency::atOnce ? kAtOnce : 0) |
                             (object ? 0 : kWithoutObject) |
                             (notification->userInfo() ? 0 : kWithoutUserInfo);
  BusMessage written = message;
  const bool isWritten =
      message &&
      written.append(checkedText(notification->name()), object ? checkedText(object) : "", bits) &&
      DistributedUserInfo{notification->userInfo()}.append(message);
  return isWritten ? written : BusMessage();
}

bool isDistributedSignal(const BusMessage& message) {
  return message.interface() == kInterface && message.member() == kMember &&
         message.path() == kPath &&
         sd_bus_message_is_signal(message.get(), kInterface, kMember) > 0;
}

std::string distributedMatchRule(const Ref<NSString>& name, const Ref<NSString>& object) {
  return std::string("type='signal',path='") + kPath + "',interface='" + kInterface + "',member='" +
         kMember + "'" + argument(",arg0='", name) + argument(",arg1='", object);
}

}  // namespace kestova
