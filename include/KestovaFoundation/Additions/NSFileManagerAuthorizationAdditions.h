// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Authorization.h>
#include <KestovaPlatform/NSFileManager.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// \file
/// Removing, copying and moving files with an administrator's rights, each call with an
/// authorization of its own or with one that the caller keeps.
///
///     const auto files = NSFileManager::defaultManager();
///     const OSStatus status = authorizedMovePath_toPath_replace(files, "/tmp/site", "/opt/site",
///                                                               false);
///
/// Each answers 0 or a status of Authorization.h. The system's tools do the work and are not waited
/// for: 0 means that the tool runs, not that it succeeds (`AuthorizationWaitForTools` tells). A
/// null or empty path can't be handed to a tool, which is −60031.
///
/// Threads: any. Everything blocks, also while the person is asked. Nothing is kept between calls,
/// and nothing is logged. `OVAuthentication` keeps an authorization for a minute.

inline namespace NSFileManager_KestovaAdditionsWithAuthorization {

/// \name Authorizations
/// @{

/// Makes an authorization and obtains the right "system.privilege.admin" on it; `flags` says how,
/// usually kAuthorizationFlagInteractionAllowed + kAuthorizationFlagExtendRights. Only on success
/// is it stored. A failure deliberately leaves what was made unfreed.
KESTOVA_FOUNDATION_EXPORT OSStatus obtainAuthorization_flags(const Ref<NSFileManager>& self,
                                                             AuthorizationRef* authorization,
                                                             AuthorizationFlags flags);

/// Frees it and ends what was granted; null is nothing.
KESTOVA_FOUNDATION_EXPORT void freeAuthorization(const Ref<NSFileManager>& self,
                                                 const AuthorizationRef& authorization);

/// @}
/// \name With an authorization at hand
/// @{

/// "/bin/rm", with "-R" for a folder and all that is beneath it, "-d" for an empty one, and "-f".
KESTOVA_FOUNDATION_EXPORT OSStatus removeFileAtPath_removeDirectories_recursive_withAuthorization(
    const Ref<NSFileManager>& self, const Ref<NSString>& path, bool removeDirectories,
    bool recursive, const AuthorizationRef& authorization);

/// "/bin/cp", with "-f" if `replace` is true. Folders are not copied by it.
KESTOVA_FOUNDATION_EXPORT OSStatus copyPath_toPath_replace_withAuthorization(
    const Ref<NSFileManager>& self, const Ref<NSString>& path, const Ref<NSString>& toPath,
    bool replace, const AuthorizationRef& authorization);

/// "/bin/mv", with "-f" if `replace` is true.
KESTOVA_FOUNDATION_EXPORT OSStatus movePath_toPath_replace_withAuthorization(
    const Ref<NSFileManager>& self, const Ref<NSString>& path, const Ref<NSString>& toPath,
    bool replace, const AuthorizationRef& authorization);

/// Moves what is in a folder into another one, but for items whose names begin with a full stop.
/// With `replace`, what has an item's name there is removed first; then the item is moved if
/// nothing is there any more. As the removal is not waited for, that may still be there, and then
/// the item deliberately stays where it is, which is no failure. The first failure ends it.
///
/// 0 for a folder that is empty or can't be listed, and when both are the same folder; −122
/// (badMovErr) when the folder itself would have to be replaced to make room for what is in it.
KESTOVA_FOUNDATION_EXPORT OSStatus
moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace_withAuthorization(
    const Ref<NSFileManager>& self, const Ref<NSString>& path, const Ref<NSString>& targetPath,
    bool replace, const AuthorizationRef& authorization);

/// @}
/// \name With an authorization of their own
/// They obtain one, which may ask the person, do the same as the operation above, and free it.
/// After a failure of the operation it deliberately stays unfreed.
/// @{

KESTOVA_FOUNDATION_EXPORT OSStatus authorizedRemoveFileAtPath_removeDirectories_recursive(
    const Ref<NSFileManager>& self, const Ref<NSString>& path, bool removeDirectories,
    bool recursive);
KESTOVA_FOUNDATION_EXPORT OSStatus authorizedCopyPath_toPath_replace(const Ref<NSFileManager>& self,
                                                                     const Ref<NSString>& path,
                                                                     const Ref<NSString>& toPath,
                                                                     bool replace);
KESTOVA_FOUNDATION_EXPORT OSStatus authorizedMovePath_toPath_replace(const Ref<NSFileManager>& self,
                                                                     const Ref<NSString>& path,
                                                                     const Ref<NSString>& toPath,
                                                                     bool replace);
KESTOVA_FOUNDATION_EXPORT OSStatus
authorizedMoveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace(const Ref<NSFileManager>& self,
                                                                    const Ref<NSString>& path,
                                                                    const Ref<NSString>& targetPath,
                                                                    bool replace);

/// @}

}  // namespace NSFileManager_KestovaAdditionsWithAuthorization

}  // namespace kestova
