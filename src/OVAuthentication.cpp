// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVAuthentication.h>
#include <KestovaFoundation/OVNSErrorBuilder.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Clock.h>
#include <KestovaPlatform/NSFileManager.h>
#include <KestovaPlatform/NSLog.h>

#include <cstddef>
#include <string_view>

#include "AuthorizedTool.h"

namespace kestova {

KESTOVA_DEFINE_CLASS(OVAuthentication)

namespace {

constexpr NSTimeInterval kLifetime = 60.0;
constexpr NSTimeInterval kPauseBeforeRetry = 2.0;

bool existsAt(const Ref<NSString>& path) {
  return NSFileManager::defaultManager()->fileExistsAtPath(path);
}

bool isFolder(const Ref<NSString>& path) {
  bool isDirectory = false;
  return NSFileManager::defaultManager()->fileExistsAtPath_isDirectory(path, &isDirectory) &&
         isDirectory;
}

/// Deliberately holds the thread, looking at the clock.
void holdThread(NSTimeInterval seconds) {
  const NSTimeInterval start = systemUptime();
  while (systemUptime() - start < seconds) {
  }
}

/// Whether the tool was started; what kept it from that becomes an error, but for the person.
bool succeeded(OSStatus status, const char* description, Ref<NSError>* error) {
  if (status != errAuthorizationSuccess && status != errAuthorizationCanceled && error != nullptr) {
    *error = OVMakeError([&](const Ref<OVNSErrorBuilder>& builder) {
      builder->setDomain(NSOSStatusErrorDomain);
      builder->setCode(status);
      builder->setLocalizedDescription(description);
      builder->setLocalizedRecoverySuggestion(OVAuthentication::authorizationErrorString(status));
    });
  }
  return status == errAuthorizationSuccess;
}

/// A folder can only be made in one that is there, and tools are not waited for: so that is awaited
/// here, for as long as a tool may still make it. The failure of one ends it: another one may take
/// hours.
void awaitFolder(const Ref<NSString>& path, std::size_t failedBefore) {
  constexpr NSTimeInterval kLook = 0.01;
  for (AuthorizationToolCounts tools{.running = 1, .ended = 0, .failed = failedBefore};
       tools.running > 0 && tools.failed == failedBefore && !existsAt(path);) {
    tools = AuthorizationWaitForTools(kLook);
  }
}

}  // namespace

// Making

OVAuthentication::OVAuthentication()
    : mAuthFlags(kAuthorizationFlagInteractionAllowed | kAuthorizationFlagExtendRights),
      mAuthItem{
          .name = kAuthorizationRightAdminister, .valueLength = 0, .value = nullptr, .flags = 0},
      mAuthRights{.count = 1, .items = &mAuthItem} {}

OVAuthentication::~OVAuthentication() {
  clearAuthorization();
  AuthorizationFreeItemSet(mAuthObtainedRights);
}

Ref<OVAuthentication> OVAuthentication::init() { return make<OVAuthentication>(); }

Ref<OVAuthentication> OVAuthentication::sharedInstance() {
  static const Ref<OVAuthentication>& shared = *new Ref<OVAuthentication>(init());
  return shared;
}

/// The texts differ in their capitals. They are as applications show them, and stay so.
Ref<NSString> OVAuthentication::authorizationErrorString(OSStatus status) {
  switch (status) {
    case errAuthorizationSuccess:
      return "The operation completed successfully.";
    case errAuthorizationInvalidSet:
      return "The set parameter is invalid.";
    case errAuthorizationInvalidRef:
      return "The authorization parameter is invalid.";
    case errAuthorizationInvalidTag:
      return "The tag parameter is invalid.";
    case errAuthorizationInvalidPointer:
      return "The authorizedRights parameter is invalid.";
    case errAuthorizationDenied:
      return "The authorization was denied.";
    case errAuthorizationCanceled:
      return "The authorization was cancelled by the user.";
    case errAuthorizationInteractionNotAllowed:
      return "The authorization was denied since no user interaction was possible.";
    case errAuthorizationInternal:
      return "something else went wrong";
    case errAuthorizationExternalizeNotAllowed:
      return "authorization externalization denied";
    case errAuthorizationInternalizeNotAllowed:
      return "authorization internalization denied";
    case errAuthorizationInvalidFlags:
      return "invalid option flag(s)";
    case errAuthorizationToolExecuteFailure:
      return "cannot execute privileged tool";
    case errAuthorizationToolEnvironmentError:
      return "The privileged tool failed to return a success or error code.";
    case errAuthorizationBadAddress:
      return "invalid socket address requested";
    default:
      return "";
  }
}

// The authorization

OSStatus OVAuthentication::getAuthorizationRef(AuthorizationRef* authorization) {
  if (!mAuthorizationRef) {
    const OSStatus status =
        AuthorizationCreate(&mAuthRights, nullptr, mAuthFlags, &mAuthorizationRef);
    if (status != errAuthorizationSuccess) {
      NSLog("AuthorizationCreate returned %ld", static_cast<long>(status));
      mAuthorizationRef = nullptr;
    }
  }
  putOffRelease();
  if (authorization != nullptr) {
    *authorization = mAuthorizationRef;
  }
  return errAuthorizationSuccess;
}

/// The timer doesn't hold this object, which invalidates it when it goes.
void OVAuthentication::putOffRelease() {
  if (mReleaseTimer) {
    mReleaseTimer->invalidate();
  }
  mReleaseTimer = NSTimer::scheduledTimerWithTimeInterval_repeats_block(
      kLifetime, false, [this](const Ref<NSTimer>& timer) { _timedAuthorizationRelease(timer); });
}

/// What was obtained outlives the reference that it was obtained on. Applications rely on not being
/// asked here again; a tool that is started on a newer reference asks by itself.
OSStatus OVAuthentication::obtainRights() {
  if (hasObtainedRight()) {
    return errAuthorizationSuccess;
  }
  AuthorizationFreeItemSet(mAuthObtainedRights);
  mAuthObtainedRights = nullptr;
  const OSStatus status = AuthorizationCopyRights(mAuthorizationRef, &mAuthRights, nullptr,
                                                  mAuthFlags, &mAuthObtainedRights);
  if (status != errAuthorizationSuccess) {
    NSLog("AuthorizationCopyRights returned %ld", static_cast<long>(status));
  }
  return status;
}

bool OVAuthentication::hasObtainedRight() const {
  for (std::uint32_t index = 0;
       mAuthObtainedRights != nullptr && index < mAuthObtainedRights->count; ++index) {
    if (std::string_view(mAuthObtainedRights->items[index].name) == kAuthorizationRightAdminister) {
      return true;
    }
  }
  return false;
}

void OVAuthentication::clearAuthorization() {
  if (mReleaseTimer) {
    mReleaseTimer->invalidate();
    mReleaseTimer = nullptr;
  }
  if (mAuthorizationRef) {
    AuthorizationFree(mAuthorizationRef, kAuthorizationFlagDestroyRights);
    mAuthorizationRef = nullptr;
  }
}

void OVAuthentication::_timedAuthorizationRelease(const Ref<NSTimer>&) { clearAuthorization(); }

// Tools

OSStatus OVAuthentication::executeTask_arguments_options(const Ref<NSString>& tool,
                                                         const Ref<NSArray>& arguments,
                                                         AuthorizationFlags options) {
  OSStatus status = getAuthorizationRef();
  if (status != errAuthorizationSuccess) {
    return status;
  }
  status = obtainRights();
  if (status != errAuthorizationSuccess) {
    return status;
  }
  status = startTool(mAuthorizationRef, tool, arguments, options);
  if (status == errAuthorizationToolEnvironmentError) {
    holdThread(kPauseBeforeRetry);
    status = startTool(mAuthorizationRef, tool, arguments, options);
  }
  return status;
}

/// Null for the arguments is a path that names nothing.
OSStatus OVAuthentication::runTool(const char* tool, const Ref<NSArray>& arguments) {
  return arguments ? executeTask_arguments_options(tool, arguments, kAuthorizationFlagDefaults)
                   : errAuthorizationToolExecuteFailure;
}

// Files and folders

bool OVAuthentication::createFolderAtPath_error(const Ref<NSString>& path, Ref<NSError>*) {
  if (existsAt(path)) {
    return true;
  }
  const OSStatus status = runTool("/bin/mkdir", toolArguments(NSArray::array(), {path}));
  if (status != errAuthorizationSuccess && status != errAuthorizationCanceled) {
    NSLog("Could not create folder. %@", authorizationErrorString(status));
  }
  return status == errAuthorizationSuccess;
}

bool OVAuthentication::createFoldersInPath_error(const Ref<NSString>& path, Ref<NSError>* error) {
  const auto components = path ? path->pathComponents() : NSArray::array();
  const std::size_t failedBefore = AuthorizationWaitForTools(0).failed;
  Ref<NSString> above;
  for (NSUInteger count = 1; count <= components->count(); ++count) {
    const auto folder =
        NSString::pathWithComponents(components->subarrayWithRange(NSMakeRange(0, count)));
    if (above) {
      awaitFolder(above, failedBefore);
    }
    if (!existsAt(folder) && !createFolderAtPath_error(folder, error)) {
      return false;
    }
    above = folder;
  }
  return true;
}

bool OVAuthentication::movePath_toPath_error(const Ref<NSString>& path, const Ref<NSString>& toPath,
                                             Ref<NSError>* error) {
  const auto arguments = toolArguments(NSArray::of("-f"), {path, toPath});
  return succeeded(runTool("/bin/mv", arguments), "Could not move the file.", error);
}

bool OVAuthentication::removeItemAtPath_error(const Ref<NSString>& path, Ref<NSError>* error) {
  if (!existsAt(path)) {
    return false;
  }
  const auto options = isFolder(path) ? NSArray::of("-f", "-R") : NSArray::of("-f");
  return succeeded(runTool("/bin/rm", toolArguments(options, {path})), "Could not remove the file.",
                   error);
}

}  // namespace kestova
