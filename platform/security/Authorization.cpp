// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Authorization.h>
#include <KestovaPlatform/Class.h>

#include "security/SystemAuthorizationService.h"
#include "security/ToolReaper.h"

#include <atomic>
#include <utility>

namespace kestova {
namespace {

using Names = AuthorizationService::Names;

std::atomic<AuthorizationService*> replacement{nullptr};

AuthorizationService& systemService() {
  static AuthorizationService& service = *new SystemAuthorizationService;
  return service;
}

/// A set and what its items point at.
class OwnedItemSet : public AuthorizationItemSet {
 public:
  explicit OwnedItemSet(Names names) : names_(std::move(names)), entries_(names_.size()) {
    for (std::size_t index = 0; index < names_.size(); ++index) {
      entries_[index].name = names_[index].c_str();
    }
    count = static_cast<std::uint32_t>(entries_.size());
    items = entries_.data();
  }
  OwnedItemSet(const OwnedItemSet&) = delete;
  OwnedItemSet& operator=(const OwnedItemSet&) = delete;

 private:
  const Names names_;
  std::vector<AuthorizationItem> entries_;
};

bool isWellFormed(const AuthorizationItemSet& set) {
  for (std::uint32_t index = 0; index < set.count; ++index) {
    if (set.items == nullptr || set.items[index].name == nullptr) {
      return false;
    }
  }
  return true;
}

Names namesIn(const AuthorizationItemSet& set) {
  Names names;
  for (std::uint32_t index = 0; index < set.count; ++index) {
    names.emplace_back(set.items[index].name);
  }
  return names;
}

Names wordsIn(const char* const* list) {
  Names words;
  for (; list != nullptr && *list != nullptr; ++list) {
    words.emplace_back(*list);
  }
  return words;
}

bool areWithin(AuthorizationFlags flags, AuthorizationFlags allowed) {
  return (flags & ~allowed) == 0;
}

constexpr AuthorizationFlags kAskingFlags =
    kAuthorizationFlagInteractionAllowed | kAuthorizationFlagExtendRights;

}  // namespace

KESTOVA_DEFINE_CLASS(Authorization)

AuthorizationService& AuthorizationService::shared() {
  AuthorizationService* service = replacement.load();
  return service == nullptr ? systemService() : *service;
}

AuthorizationService* AuthorizationService::setShared(AuthorizationService* service) {
  AuthorizationService* before = replacement.exchange(service);
  return before == nullptr ? &systemService() : before;
}

OSStatus AuthorizationCreate(const AuthorizationRights* rights, const AuthorizationEnvironment*,
                             AuthorizationFlags flags, AuthorizationRef* authorization) {
  if (authorization == nullptr) {
    return errAuthorizationInvalidPointer;
  }
  *authorization = nullptr;
  if (rights != nullptr && !isWellFormed(*rights)) {
    return errAuthorizationInvalidSet;
  }
  return areWithin(flags, kAskingFlags)
             ? AuthorizationService::shared().create(flags, authorization)
             : errAuthorizationInvalidFlags;
}

OSStatus AuthorizationCopyRights(const AuthorizationRef& authorization,
                                 const AuthorizationRights* rights, const AuthorizationEnvironment*,
                                 AuthorizationFlags flags, AuthorizationItemSet** obtained) {
  if (obtained != nullptr) {
    *obtained = nullptr;
  }
  if (!authorization) {
    return errAuthorizationInvalidRef;
  }
  if (rights == nullptr || !isWellFormed(*rights)) {
    return errAuthorizationInvalidSet;
  }
  if (!areWithin(flags, kAskingFlags)) {
    return errAuthorizationInvalidFlags;
  }
  Names names;
  const OSStatus status =
      AuthorizationService::shared().obtain(authorization, namesIn(*rights), flags, &names);
  if (status == errAuthorizationSuccess && obtained != nullptr) {
    *obtained = new OwnedItemSet(std::move(names));
  }
  return status;
}

void AuthorizationFreeItemSet(AuthorizationItemSet* set) { delete static_cast<OwnedItemSet*>(set); }

OSStatus AuthorizationFree(const AuthorizationRef& authorization, AuthorizationFlags flags) {
  if (!authorization) {
    return errAuthorizationInvalidRef;
  }
  return areWithin(flags, kAuthorizationFlagDestroyRights)
             ? AuthorizationService::shared().free(authorization, flags)
             : errAuthorizationInvalidFlags;
}

OSStatus AuthorizationExecuteWithPrivileges(const AuthorizationRef& authorization, const char* tool,
                                            AuthorizationFlags options,
                                            const char* const* arguments) {
  if (!authorization) {
    return errAuthorizationInvalidRef;
  }
  if (options != kAuthorizationFlagDefaults) {
    return errAuthorizationInvalidFlags;
  }
  return tool == nullptr ? errAuthorizationToolExecuteFailure
                         : AuthorizationService::shared().execute(authorization, tool, options,
                                                                  wordsIn(arguments));
}

AuthorizationToolCounts AuthorizationWaitForTools(NSTimeInterval seconds) {
  return ToolReaper::shared().waitForAll(seconds);
}

}  // namespace kestova
