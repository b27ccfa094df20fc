// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Authorization.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSTimer.h>

namespace kestova {

/// Changes files that belong to the system or to others: obtains the right to act as an
/// administrator, which may ask the person for a password, keeps it for a minute after each use,
/// and runs the system's file tools with it.
///
///     Ref<NSError> error;
///     const auto authentication = OVAuthentication::sharedInstance();
///     if (!authentication->movePath_toPath_error("/tmp/site", "/opt/site", &error) && error) {
///       show(error);                    // no error: the person has thought better of it
///     }
///
/// The tools are started and not waited for: true means that the tool runs, not that it succeeds
/// (`AuthorizationWaitForTools` tells). Statuses are those of Authorization.h.
///
/// Threads: one, whose run loop runs in the default mode, for the timer that ends the authorization
/// belongs to it; the main one as a rule. Operations block while the person is asked.
///
/// Ownership: an object that goes ends its authorization.
class KESTOVA_FOUNDATION_EXPORT OVAuthentication : public NSObject {
  KESTOVA_CLASS(OVAuthentication, NSObject)

 public:
  /// The shared instance, made on first request; it lives until the process ends.
  static Ref<OVAuthentication> sharedInstance();

  /// What a status means, for people; the empty text for one that has none.
  static Ref<NSString> authorizationErrorString(OSStatus status);

  /// An instance that has no authorization yet.
  static Ref<OVAuthentication> init();

  /// Stores the authorization, which is made first where there is none, in `authorization` (may be
  /// null), and puts its end off to 60 seconds from now. Answers 0, always: when none can be made
  /// that is logged and nothing is stored.
  OSStatus getAuthorizationRef(AuthorizationRef* authorization = nullptr);

  /// Obtains the right on the authorization at hand, asking the person where that is needed. Once
  /// it was obtained the answer is deliberately 0 for good, also when the authorization has ended
  /// since: the next tool then asks by itself. A failure is logged.
  OSStatus obtainRights();

  /// Obtains the right and starts the tool at an absolute path with the arguments, strings that
  /// arrive as paths do (null: none). `options` is 0.
  ///
  /// When the tool's environment fails (−60032) it holds the thread for 2 seconds and tries once
  /// more. −60031 for a tool or an argument that no program can have.
  OSStatus executeTask_arguments_options(const Ref<NSString>& tool, const Ref<NSArray>& arguments,
                                         AuthorizationFlags options);

  /// \name Files and folders
  /// False when the tool could not be started. When the person has dismissed the question no error
  /// is stored and nothing logged.
  /// @{

  /// Makes a folder ("/bin/mkdir"). What is at the path already, of whatever kind, is a success. A
  /// failure is logged; deliberately no error is ever stored.
  bool createFolderAtPath_error(const Ref<NSString>& path, Ref<NSError>* error = nullptr);

  /// The same for each folder of a path that is missing, from the top. The next one begins when the
  /// one it lies in is there.
  bool createFoldersInPath_error(const Ref<NSString>& path, Ref<NSError>* error = nullptr);

  /// Moves an item ("/bin/mv -f"), into `toPath` where that is a folder. A failure stores an error
  /// of NSOSStatusErrorDomain with the status.
  bool movePath_toPath_error(const Ref<NSString>& path, const Ref<NSString>& toPath,
                             Ref<NSError>* error = nullptr);

  /// Removes an item ("/bin/rm -f"), a folder with all that is beneath it ("-R"). A failure stores
  /// an error as above; where there is nothing the answer is false without one.
  bool removeItemAtPath_error(const Ref<NSString>& path, Ref<NSError>* error = nullptr);

  /// @}
  /// \name The end of the authorization
  /// @{

  /// Ends it now, with all that was granted. Does nothing when there is none.
  void clearAuthorization();

  /// What the timer does: the same.
  void _timedAuthorizationRelease(const Ref<NSTimer>& timer);

  /// The timer that will end it; null when none waits. For tests and diagnosis.
  const Ref<NSTimer>& releaseTimer() const noexcept { return mReleaseTimer; }

  /// @}

 protected:
  OVAuthentication();
  ~OVAuthentication() override;

 private:
  void putOffRelease();
  bool hasObtainedRight() const;
  OSStatus runTool(const char* tool, const Ref<NSArray>& arguments);

  Ref<NSTimer> mReleaseTimer;
  const AuthorizationFlags mAuthFlags;
  AuthorizationItem mAuthItem;
  const AuthorizationRights mAuthRights;
  AuthorizationItemSet* mAuthObtainedRights = nullptr;
  AuthorizationRef mAuthorizationRef;
};

}  // namespace kestova
