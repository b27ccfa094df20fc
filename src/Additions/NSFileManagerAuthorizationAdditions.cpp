// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSFileManagerAuthorizationAdditions.h>

#include "Additions/FolderIdentity.h"
#include "AuthorizedTool.h"

namespace kestova {
namespace {

constexpr AuthorizationFlags kAskingThePerson =
    kAuthorizationFlagInteractionAllowed | kAuthorizationFlagExtendRights;

OSStatus runTool(const AuthorizationRef& authorization, const char* tool,
                 const Ref<NSArray>& arguments) {
  return arguments ? startTool(authorization, tool, arguments) : errAuthorizationToolExecuteFailure;
}

Ref<NSArray> forceIf(bool isForced) { return isForced ? NSArray::of("-f") : NSArray::array(); }

/// Moves one item of a folder, where there is room for it.
OSStatus moveItem(const Ref<NSFileManager>& self, const Ref<NSString>& path,
                  const Ref<NSString>& targetPath, bool replace,
                  const AuthorizationRef& authorization) {
  if (replace && self->fileExistsAtPath(targetPath)) {
    if (isFolderWithin(self, path->stringByDeletingLastPathComponent(), targetPath)) {
      return badMovErr;
    }
    const OSStatus status = removeFileAtPath_removeDirectories_recursive_withAuthorization(
        self, targetPath, true, true, authorization);
    if (status != errAuthorizationSuccess) {
      return status;
    }
  }
  return self->fileExistsAtPath(targetPath) ? errAuthorizationSuccess
                                            : movePath_toPath_replace_withAuthorization(
                                                  self, path, targetPath, replace, authorization);
}

/// Runs an operation with an authorization of its own, which stays unfreed when it fails.
template <class Operation>
OSStatus runAuthorized(const Ref<NSFileManager>& self, Operation operation) {
  AuthorizationRef authorization;
  OSStatus status = obtainAuthorization_flags(self, &authorization, kAskingThePerson);
  if (status != errAuthorizationSuccess) {
    return status;
  }
  status = operation(authorization);
  if (status == errAuthorizationSuccess) {
    freeAuthorization(self, authorization);
  }
  return status;
}

}  // namespace

inline namespace NSFileManager_KestovaAdditionsWithAuthorization {

OSStatus obtainAuthorization_flags(const Ref<NSFileManager>&, AuthorizationRef* authorization,
                                   AuthorizationFlags flags) {
  AuthorizationRef made;
  OSStatus status = AuthorizationCreate(nullptr, nullptr, kAuthorizationFlagDefaults, &made);
  if (status != errAuthorizationSuccess) {
    return status;
  }
  AuthorizationItem right{
      .name = kAuthorizationRightAdminister, .valueLength = 0, .value = nullptr, .flags = 0};
  const AuthorizationRights rights{.count = 1, .items = &right};
  status = AuthorizationCopyRights(made, &rights, nullptr, flags, nullptr);
  if (status == errAuthorizationSuccess && authorization != nullptr) {
    *authorization = made;
  }
  return status;
}

void freeAuthorization(const Ref<NSFileManager>&, const AuthorizationRef& authorization) {
  if (authorization) {
    AuthorizationFree(authorization, kAuthorizationFlagDestroyRights);
  }
}

OSStatus removeFileAtPath_removeDirectories_recursive_withAuthorization(
    const Ref<NSFileManager>&, const Ref<NSString>& path, bool removeDirectories, bool recursive,
    const AuthorizationRef& authorization) {
  auto options = recursive ? NSArray::of("-R") : NSArray::array();
  if (removeDirectories) {
    options = options->arrayByAddingObject("-d");
  }
  return runTool(authorization, "/bin/rm",
                 toolArguments(options->arrayByAddingObject("-f"), {path}));
}

OSStatus copyPath_toPath_replace_withAuthorization(const Ref<NSFileManager>&,
                                                   const Ref<NSString>& path,
                                                   const Ref<NSString>& toPath, bool replace,
                                                   const AuthorizationRef& authorization) {
  return runTool(authorization, "/bin/cp", toolArguments(forceIf(replace), {path, toPath}));
}

OSStatus movePath_toPath_replace_withAuthorization(const Ref<NSFileManager>&,
                                                   const Ref<NSString>& path,
                                                   const Ref<NSString>& toPath, bool replace,
                                                   const AuthorizationRef& authorization) {
  return runTool(authorization, "/bin/mv", toolArguments(forceIf(replace), {path, toPath}));
}

OSStatus moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace_withAuthorization(
    const Ref<NSFileManager>& self, const Ref<NSString>& path, const Ref<NSString>& targetPath,
    bool replace, const AuthorizationRef& authorization) {
  const auto names = path ? self->contentsOfDirectoryAtPath_error(path) : nullptr;
  if (!names || !targetPath || isSameFolder(self, path, targetPath)) {
    return errAuthorizationSuccess;
  }
  for (const id& each : names) {
    const auto name = cast<NSString>(each);
    if (name->hasPrefix(".")) {
      continue;
    }
    const OSStatus status =
        moveItem(self, path->stringByAppendingPathComponent(name),
                 targetPath->stringByAppendingPathComponent(name), replace, authorization);
    if (status != errAuthorizationSuccess) {
      return status;
    }
  }
  return errAuthorizationSuccess;
}

OSStatus authorizedRemoveFileAtPath_removeDirectories_recursive(const Ref<NSFileManager>& self,
                                                                const Ref<NSString>& path,
                                                                bool removeDirectories,
                                                                bool recursive) {
  return runAuthorized(self, [&](const AuthorizationRef& authorization) {
    return removeFileAtPath_removeDirectories_recursive_withAuthorization(
        self, path, removeDirectories, recursive, authorization);
  });
}

OSStatus authorizedCopyPath_toPath_replace(const Ref<NSFileManager>& self,
                                           const Ref<NSString>& path, const Ref<NSString>& toPath,
                                           bool replace) {
  return runAuthorized(self, [&](const AuthorizationRef& authorization) {
    return copyPath_toPath_replace_withAuthorization(self, path, toPath, replace, authorization);
  });
}

OSStatus authorizedMovePath_toPath_replace(const Ref<NSFileManager>& self,
                                           const Ref<NSString>& path, const Ref<NSString>& toPath,
                                           bool replace) {
  return runAuthorized(self, [&](const AuthorizationRef& authorization) {
    return movePath_toPath_replace_withAuthorization(self, path, toPath, replace, authorization);
  });
}

OSStatus authorizedMoveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace(
    const Ref<NSFileManager>& self, const Ref<NSString>& path, const Ref<NSString>& targetPath,
    bool replace) {
  return runAuthorized(self, [&](const AuthorizationRef& authorization) {
    return moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace_withAuthorization(
        self, path, targetPath, replace, authorization);
  });
}

}  // namespace NSFileManager_KestovaAdditionsWithAuthorization

}  // namespace kestova
