// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Authorization.h>

namespace kestova {

/// The real authorization service: polkit's rights, tools through pkexec; root needs neither.
class SystemAuthorizationService : public AuthorizationService {
 public:
  OSStatus create(AuthorizationFlags flags, AuthorizationRef* authorization) override;
  OSStatus obtain(const AuthorizationRef& authorization, const Names& rights,
                  AuthorizationFlags flags, Names* obtained) override;
  OSStatus free(const AuthorizationRef& authorization, AuthorizationFlags flags) override;
  OSStatus execute(const AuthorizationRef& authorization, const std::string& tool,
                   AuthorizationFlags options, const Names& arguments) override;

 private:
  static OSStatus obtainAdminister(Authorization& authorization, AuthorizationFlags flags);
};

}  // namespace kestova
