// SPDX-License-Identifier: Apache-2.0
#include "security/SystemAuthorizationService.h"

#include "security/PolkitAuthority.h"
#include "security/PrivilegedTool.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace kestova {
namespace {

bool isRoot() { return ::geteuid() == 0; }

constexpr AuthorizationFlags kAskingThePerson =
    kAuthorizationFlagInteractionAllowed | kAuthorizationFlagExtendRights;

}  // namespace

OSStatus SystemAuthorizationService::create(AuthorizationFlags, AuthorizationRef* authorization) {
  *authorization = make<Authorization>();
  return errAuthorizationSuccess;
}

OSStatus SystemAuthorizationService::obtain(const AuthorizationRef& authorization,
                                            const Names& rights, AuthorizationFlags flags,
                                            Names* obtained) {
  if (authorization->isFreed_) {
    return errAuthorizationInvalidRef;
  }
  if (!std::ranges::all_of(rights, [](const std::string& right) {
        return right == kAuthorizationRightAdminister;
      })) {
    return errAuthorizationDenied;
  }
  const OSStatus status =
      rights.empty() ? errAuthorizationSuccess : obtainAdminister(*authorization, flags);
  if (status == errAuthorizationSuccess) {
    *obtained = rights;
  }
  return status;
}

OSStatus SystemAuthorizationService::obtainAdminister(Authorization& authorization,
                                                      AuthorizationFlags flags) {
  if (isRoot()) {
    return errAuthorizationSuccess;
  }
  const PolkitAnswer answer = askPolkit((flags & kAskingThePerson) == kAskingThePerson
                                            ? PolkitQuestion::mayAskThePerson
                                            : PolkitQuestion::mayNotAskThePerson);
  auto& grants = authorization.grants_;
  if (!answer.grant.empty() && std::ranges::find(grants, answer.grant) == grants.end()) {
    grants.push_back(answer.grant);
  }
  return answer.status;
}

OSStatus SystemAuthorizationService::free(const AuthorizationRef& authorization,
                                          AuthorizationFlags flags) {
  if (std::exchange(authorization->isFreed_, true)) {
    return errAuthorizationInvalidRef;
  }
  if ((flags & kAuthorizationFlagDestroyRights) != 0 && !authorization->grants_.empty()) {
    revokePolkitGrants(authorization->grants_);
  }
  authorization->grants_.clear();
  return errAuthorizationSuccess;
}

/// Asking first tells why the right is denied, which pkexec does only in words for people.
OSStatus SystemAuthorizationService::execute(const AuthorizationRef& authorization,
                                             const std::string& tool, AuthorizationFlags,
                                             const Names& arguments) {
  if (authorization->isFreed_) {
    return errAuthorizationInvalidRef;
  }
  if (!tool.starts_with('/') || ::access(tool.c_str(), X_OK) != 0) {
    return errAuthorizationToolExecuteFailure;
  }
  const OSStatus status = obtainAdminister(*authorization, kAskingThePerson);
  if (status != errAuthorizationSuccess) {
    return status;
  }
  return isRoot() ? startToolAsRoot(tool, arguments) : startToolByPkexec(tool, arguments);
}

}  // namespace kestova
