// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/MacErrors.h>

#include <string>
#include <vector>

namespace kestova {

/// Whether a question may go on to the person at the machine.
enum class PolkitQuestion { mayAskThePerson, mayNotAskThePerson };

/// What polkit says to this process's wish to act as an administrator.
struct PolkitAnswer {
  /// As Authorization.h tells it.
  OSStatus status = errAuthorizationInternal;
  /// What polkit calls a permission that ends by itself; empty when it gave none of that kind.
  std::string grant;
};

/// Asks polkit, on the system bus, whether this process may act as an administrator. Blocks until
/// the person has answered. Any thread.
PolkitAnswer askPolkit(PolkitQuestion question);

/// Gives permissions back, where polkit lets this process do so.
void revokePolkitGrants(const std::vector<std::string>& grants);

}  // namespace kestova
