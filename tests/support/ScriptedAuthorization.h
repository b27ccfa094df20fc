// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Authorization.h>

#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace kestova::testing {

/// An authorization service that grants and starts nothing but writes down what it is asked, and
/// answers what a test says: success where it says nothing.
class ScriptedAuthorization : public AuthorizationService {
 public:
  ScriptedAuthorization() : real_(setShared(this)) {}
  ~ScriptedAuthorization() override { setShared(nullptr); }

  /// Every request in order, such as "create 3", "obtain system.privilege.admin 3", "free 8",
  /// "run 0 /bin/mkdir /a".
  std::vector<std::string> requests;
  /// Every authorization that was made, kept.
  std::vector<AuthorizationRef> made;
  /// The one that each tool was started on.
  std::vector<AuthorizationRef> usedForTools;
  std::deque<OSStatus> createStatuses;  // success when there are none left
  std::deque<OSStatus> obtainStatuses;
  std::deque<OSStatus> toolStatuses;
  /// What is obtained, in place of what is asked for.
  std::deque<Names> obtainedNames;
  /// Called when a tool is asked for, with its path and arguments.
  std::function<void(const Names&)> whenStarting;

  /// The tools with their arguments.
  std::vector<Names> tools;

  OSStatus create(AuthorizationFlags flags, AuthorizationRef* authorization) override {
    requests.push_back("create " + std::to_string(flags));
    const OSStatus status = next(createStatuses);
    if (status == errAuthorizationSuccess) {
      real_->create(flags, authorization);
      made.push_back(*authorization);
    }
    return status;
  }

  OSStatus obtain(const AuthorizationRef&, const Names& rights, AuthorizationFlags flags,
                  Names* obtained) override {
    std::string request = "obtain";
    for (const std::string& right : rights) request += " " + right;
    requests.push_back(request + " " + std::to_string(flags));
    *obtained = rights;
    if (!obtainedNames.empty()) {
      *obtained = obtainedNames.front();
      obtainedNames.pop_front();
    }
    return next(obtainStatuses);
  }

  OSStatus free(const AuthorizationRef&, AuthorizationFlags flags) override {
    requests.push_back("free " + std::to_string(flags));
    return errAuthorizationSuccess;
  }

  OSStatus execute(const AuthorizationRef& authorization, const std::string& tool,
                   AuthorizationFlags options, const Names& arguments) override {
    Names words = {tool};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::string request = "run " + std::to_string(options);
    for (const std::string& word : words) request += " " + word;
    requests.push_back(request);
    usedForTools.push_back(authorization);
    tools.push_back(words);
    const OSStatus status = next(toolStatuses);
    if (whenStarting) whenStarting(words);
    return status;
  }

 private:
  static OSStatus next(std::deque<OSStatus>& statuses) {
    if (statuses.empty()) {
      return errAuthorizationSuccess;
    }
    const OSStatus status = statuses.front();
    statuses.pop_front();
    return status;
  }

  AuthorizationService* real_;
};

}  // namespace kestova::testing
