// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/MacErrors.h>
#include <KestovaPlatform/NSObject.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// \file
/// Rights beyond those of the person at the machine, and tools that are run with them.
///
///     AuthorizationRef authorization;
///     AuthorizationCreate(nullptr, nullptr, kAuthorizationFlagDefaults, &authorization);
///     const char* arguments[] = {"/opt/site", nullptr};
///     const OSStatus status = AuthorizationExecuteWithPrivileges(
///         authorization, "/bin/mkdir", kAuthorizationFlagDefaults, arguments);
///     AuthorizationFree(authorization, kAuthorizationFlagDestroyRights);
///
/// The machine's policy (polkit) decides: it grants, denies, or has the person confirm with a
/// password. What it has granted holds for this process for some minutes, or until it is destroyed.
/// A process that is root already has every right and asks nobody.
///
/// Statuses: −60005 (errAuthorizationDenied) when the policy or a wrong password denies, −60006
/// (errAuthorizationCanceled) when the person dismisses the question, −60007
/// (errAuthorizationInteractionNotAllowed) when a question would be needed and is not allowed, or
/// there is nobody to ask it, −60008 (errAuthorizationInternal) when no policy answers or it does
/// not know the right, −60011 (errAuthorizationInvalidFlags) for flags that are not below.
///
/// Threads: any, one at a time for a reference. Everything that asks blocks until the person has
/// answered, without running the run loop.

namespace kestova {

/// What a right is asked for with, as a sum of bits.
using AuthorizationFlags = std::uint32_t;
enum : AuthorizationFlags {
  kAuthorizationFlagDefaults = 0,
  /// The person may be asked.
  kAuthorizationFlagInteractionAllowed = 1,
  /// Rights that are not held may be obtained; without it only those that are held count.
  kAuthorizationFlagExtendRights = 2,
  /// With AuthorizationFree: what was granted ends for the whole process.
  kAuthorizationFlagDestroyRights = 8,
};

/// One right, or one circumstance of asking for it.
struct AuthorizationItem {
  const char* name = nullptr;
  std::size_t valueLength = 0;
  void* value = nullptr;
  std::uint32_t flags = 0;
};

/// A list of them, all unowned.
struct AuthorizationItemSet {
  std::uint32_t count = 0;
  AuthorizationItem* items = nullptr;
};
using AuthorizationRights = AuthorizationItemSet;
using AuthorizationEnvironment = AuthorizationItemSet;

/// The right to act as an administrator. There is no other one.
inline constexpr const char* kAuthorizationRightAdminister = "system.privilege.admin";

/// What rights are asked for on, behind the functions below. It does not outlive
/// `AuthorizationFree`: then every use answers −60002. A reference that is merely let go of leaves
/// what was granted to the policy's own time limit.
class KESTOVA_PLATFORM_EXPORT Authorization : public NSObject {
  KESTOVA_CLASS(Authorization, NSObject)

 protected:
  Authorization() = default;

 private:
  friend class SystemAuthorizationService;

  bool isFreed_ = false;
  /// What the policy calls that which it has granted for a while.
  std::vector<std::string> grants_;
};

using AuthorizationRef = Ref<Authorization>;

/// Makes a reference. Nobody is asked for the `rights` (may be null) yet; the environment is not
/// looked at. −60001 for a set without items that counts some, −60004 without `authorization`.
KESTOVA_PLATFORM_EXPORT OSStatus AuthorizationCreate(const AuthorizationRights* rights,
                                                     const AuthorizationEnvironment* environment,
                                                     AuthorizationFlags flags,
                                                     AuthorizationRef* authorization);

/// Asks for all of the rights. On success stores what was obtained in `obtained`, where that is
/// given, for the caller to free by `AuthorizationFreeItemSet`; else null. The environment is not
/// looked at. −60001 for no set or a set without items that counts some, −60002 for no reference or
/// a freed one, −60005 for a right that there is not.
KESTOVA_PLATFORM_EXPORT OSStatus
AuthorizationCopyRights(const AuthorizationRef& authorization, const AuthorizationRights* rights,
                        const AuthorizationEnvironment* environment, AuthorizationFlags flags,
                        AuthorizationItemSet** obtained);

/// Frees a set that `AuthorizationCopyRights` has stored; null is nothing.
KESTOVA_PLATFORM_EXPORT void AuthorizationFreeItemSet(AuthorizationItemSet* set);

/// Ends a reference. With kAuthorizationFlagDestroyRights what was granted ends, too; where the
/// person has no session the policy doesn't allow that, and it ends by its time limit. −60002 for
/// no reference or a freed one.
KESTOVA_PLATFORM_EXPORT OSStatus AuthorizationFree(const AuthorizationRef& authorization,
                                                   AuthorizationFlags flags);

/// Runs a program as root. What the reference lacks in rights is asked for first, the person
/// included. Answers as soon as the program runs, and does not tell how it ends.
///
/// `tool` is the program's absolute path, `arguments` a list that ends with null (null: none). Both
/// arrive as they are, no shell sees them. The program runs in this process's working folder and
/// has nothing to read; what it writes goes where this process writes. Of the environment it gets
/// everything when this process is root, else next to nothing. It is no zombie when it has ended,
/// whatever this process does about SIGCHLD.
///
/// `options` is 0. −60002 for no reference or a freed one, −60031
/// (errAuthorizationToolExecuteFailure) when there is no such program or nothing that could give it
/// the rights, −60032 (errAuthorizationToolEnvironmentError) when the system lacks resources for it
/// now or what should have started it broke down.
KESTOVA_PLATFORM_EXPORT OSStatus
AuthorizationExecuteWithPrivileges(const AuthorizationRef& authorization, const char* tool,
                                   AuthorizationFlags options, const char* const* arguments);

/// How the programs that this process has run by `AuthorizationExecuteWithPrivileges` have fared.
struct AuthorizationToolCounts {
  std::size_t running = 0;
  std::size_t ended = 0;
  /// Of those that have ended: by a signal, or with another status than 0. One whose status
  /// somebody else in this process has taken is not among them.
  std::size_t failed = 0;
};

/// Waits until none of them is running, `seconds` at most, and answers how all of them have fared
/// since this process began. 0 or less doesn't wait; the run loop is not run. Any thread.
KESTOVA_PLATFORM_EXPORT AuthorizationToolCounts AuthorizationWaitForTools(NSTimeInterval seconds);

/// The service behind the functions above, one per process. Each operation answers as its function
/// does, which hands on no null reference and no flags that are not above. A test may put one of
/// its own in its place, for instance to write down what is asked for.
class KESTOVA_PLATFORM_EXPORT AuthorizationService {
 public:
  using Names = std::vector<std::string>;

  virtual ~AuthorizationService() = default;

  virtual OSStatus create(AuthorizationFlags flags, AuthorizationRef* authorization) = 0;
  /// Puts the rights that were obtained into `obtained`, never null.
  virtual OSStatus obtain(const AuthorizationRef& authorization, const Names& rights,
                          AuthorizationFlags flags, Names* obtained) = 0;
  virtual OSStatus free(const AuthorizationRef& authorization, AuthorizationFlags flags) = 0;
  virtual OSStatus execute(const AuthorizationRef& authorization, const std::string& tool,
                           AuthorizationFlags options, const Names& arguments) = 0;

  /// The service in use.
  static AuthorizationService& shared();

  /// Puts a service in place and answers the one before; null puts the real one back. The caller
  /// keeps it alive.
  static AuthorizationService* setShared(AuthorizationService* service);
};

}  // namespace kestova
