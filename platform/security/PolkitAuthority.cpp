// SPDX-License-Identifier: Apache-2.0
#include "security/PolkitAuthority.h"

#include "bus/BusConnection.h"
#include "security/ProcessFacts.h"

#include <unistd.h>

#include <cstdint>
#include <map>
#include <memory>
#include <tuple>

namespace kestova {
namespace {

/// Installed by packaging/polkit; polkit lets it stand for pkexec's own action, so that one answer
/// of the person is good for all tools.
constexpr const char* kAction = "org.kestova.foundation.administer";

constexpr const char* kName = "org.freedesktop.PolicyKit1";
constexpr const char* kPath = "/org/freedesktop/PolicyKit1/Authority";
constexpr const char* kInterface = "org.freedesktop.PolicyKit1.Authority";
constexpr std::uint32_t kAllowUserInteraction = 1;

/// Seconds for what asks nobody.
constexpr NSTimeInterval kPatience = 25;

using Details = std::map<std::string, std::string>;
using Subject = std::tuple<std::string, BusDictionary>;

/// A connection for each question: questions are rare, and one that is kept would have to be
/// guarded against other threads, forks and a bus that goes.
std::shared_ptr<BusConnection> connectToBus() {
  return BusConnection::connect(BusAddress::system(), kPatience);
}

/// This process, told from all others that have had its number, and from one that has changed its
/// user since.
Subject thisProcess() {
  const pid_t process = ::getpid();
  return {"unix-process",
          {{"pid", static_cast<std::uint32_t>(process)},
           {"start-time", ProcessFacts::of(process).startTime},
           {"uid", static_cast<std::int32_t>(::getuid())}}};
}

/// polkit tells a challenge when somebody would have to be asked: because that was not allowed, or
/// because no agent is there to do it.
OSStatus statusOf(bool isAuthorized, bool isChallenge, const Details& details) {
  if (isAuthorized) {
    return errAuthorizationSuccess;
  }
  if (isChallenge) {
    return errAuthorizationInteractionNotAllowed;
  }
  return details.contains("polkit.dismissed") ? errAuthorizationCanceled : errAuthorizationDenied;
}

PolkitAnswer answerOf(const BusMessage& reply) {
  std::tuple<bool, bool, Details> result;
  if (!reply || !reply.read(result)) {
    return {};
  }
  const auto& [isAuthorized, isChallenge, details] = result;
  PolkitAnswer answer{.status = statusOf(isAuthorized, isChallenge, details), .grant = {}};
  if (const auto grant = details.find("polkit.temporary_authorization_id");
      grant != details.end()) {
    answer.grant = grant->second;
  }
  return answer;
}

}  // namespace

PolkitAnswer askPolkit(PolkitQuestion question) {
  const auto bus = connectToBus();
  if (!bus) {
    return {};
  }
  const bool mayAsk = question == PolkitQuestion::mayAskThePerson;
  auto call = bus->newCall(kName, kPath, kInterface, "CheckAuthorization");
  const std::string noCancellation;
  call.append(thisProcess(), kAction, Details(), mayAsk ? kAllowUserInteraction : 0,
              noCancellation);
  return answerOf(bus->call(call, mayAsk ? BusConnection::kNoLimit : kPatience));
}

void revokePolkitGrants(const std::vector<std::string>& grants) {
  const auto bus = connectToBus();
  for (auto grant = grants.begin(); bus && grant != grants.end(); ++grant) {
    auto call = bus->newCall(kName, kPath, kInterface, "RevokeTemporaryAuthorizationById");
    call.append(*grant);
    bus->call(call, kPatience);
  }
}

}  // namespace kestova
