// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/FSFolders.h>
#include <KestovaPlatform/FSRef.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSFileManager.h>
#include <KestovaPlatform/NSString.h>

#include <cstdint>

namespace kestova {

/// \file
/// Everyday chores with files: names, folders of the system, duplicates, moves, sizes.
///
///     const auto files = NSFileManager::defaultManager();
///     const auto name = validatedFileName(files, "Q1/Q2 report");     // "Q1:Q2 report"
///     const auto copy = duplicateFileAtPath_error(files, "/tmp/a.txt");   // "/tmp/a copy.txt"
///     const auto bytes = sizeOfItemAtPath_options(files, "/usr/share", 0);
///
/// Paths and names of any bytes are handled; a null path names nothing. Nothing here throws. What
/// is free, or there, when it is asked for may no longer be so when it is acted upon.
///
/// Threads: any number of them at a time. Everything but `validatedFileName` blocks.

inline namespace NSFileManager_KestovaAdditions {

/// \name Names
/// @{

/// The text made fit to be one file name: decomposed canonically, without control and format
/// characters (Unicode's Cc and Cf), with ":" for each "/", and no longer than 255 UTF-16 units. A
/// character that only half fits is left out. Null for null and for half characters that stand for
/// nothing, which no file can have in its name.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> validatedFileName(const Ref<NSFileManager>& self,
                                                          const Ref<NSString>& name);

/// A path for a duplicate of an item, at which there is nothing; the path itself when there is
/// nothing there. "report.txt" gives "report copy.txt", and where that is taken each further name
/// deliberately grows out of the one before, extension and all: "report copy.txt copy 1.txt",
/// "report copy.txt copy 1.txt copy 2.txt".
KESTOVA_FOUNDATION_EXPORT Ref<NSString> pathForDuplicateOfFileAtPath(const Ref<NSFileManager>& self,
                                                                     const Ref<NSString>& path);

/// The path if there is nothing at it, else the first of "report 2.txt", "report 3.txt" and so on
/// in the same folder at which there is nothing.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> uniquePathForFileWithDesiredPath(
    const Ref<NSFileManager>& self, const Ref<NSString>& path);

/// @}
/// \name Asking
/// @{

/// The path of a folder by its kind and domain (see FSFolders.h); null where there is none. It is
/// not made.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> findSystemFolderType_forDomain(
    const Ref<NSFileManager>& self, OSType type, std::int16_t domain);

/// What a file is, in a line of the program "/usr/bin/file", such as "ASCII text"; that of an item
/// that can't be read tells so. Null when the program is missing, fails, or says nothing.
///
/// It waits until the program ends, meanwhile running the thread's run loop in a private mode in
/// which nothing is registered: none of the thread's sources and timers is served.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> fileTypeForFileAtPath(const Ref<NSFileManager>& self,
                                                              const Ref<NSString>& path);

/// @}
/// \name Changing
/// @{

/// Copies an item to `pathForDuplicateOfFileAtPath`. Answers the copy's path, or null with the
/// platform's error.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> duplicateFileAtPath_error(const Ref<NSFileManager>& self,
                                                                  const Ref<NSString>& path,
                                                                  Ref<NSError>* error = nullptr);

/// Moves what is in a folder into another one, but for items whose names begin with a full stop. An
/// item whose name is taken there replaces the one that has it when `replace` is true, else it
/// stays where it is, which is no failure; and so does everything when both folders are the same.
/// What holds the folder that is moved from is not replaced, which is a failure. The first failure
/// beeps and ends it with false; what was moved stays moved. A folder that can't be listed counts
/// as an empty one.
KESTOVA_FOUNDATION_EXPORT bool moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace(
    const Ref<NSFileManager>& self, const Ref<NSString>& path, const Ref<NSString>& targetPath,
    bool replace);

/// Removes a folder with all that is beneath it, and false at the first item that can't be removed.
/// A symbolic link to a folder deliberately counts as a folder: what is in the folder that it leads
/// to is removed, then the link itself.
KESTOVA_FOUNDATION_EXPORT bool removeDirectoryAtPath(const Ref<NSFileManager>& self,
                                                     const Ref<NSString>& path);

/// @}

}  // namespace NSFileManager_KestovaAdditions

/// Which sizes are added up, as a sum of bits: one or both kinds of size, of one or both forks.
enum OVFolderSizeOptions : NSUInteger {
  OVFolderSizeLogical = 1,        ///< how long the contents are
  OVFolderSizePhysical = 4,       ///< how much of the volume is allocated
  OVFolderSizeDataFork = 8,       ///< of the contents
  OVFolderSizeResourceFork = 16,  ///< of the resource fork, which is 0 here
  OVFolderSizeDefault = OVFolderSizeLogical | OVFolderSizeDataFork | OVFolderSizeResourceFork,
};

inline namespace NSFileManager_KestovaFolderSizeAdditions {

/// \name Sizes
/// The bytes of a file, or of all files beneath a folder, however deep: each fork in each kind that
/// is asked for, added in 64 bits. Folders themselves count nothing, a symbolic link its own size,
/// and a file with several names each time that it is met. What can't be read counts nothing.
///
/// Cost: one system call an item, on two threads; memory does not grow with the number of items.
/// @{

/// `options` is a sum of OVFolderSizeOptions; without a kind or a fork the size is 0.
KESTOVA_FOUNDATION_EXPORT std::uint64_t fastFolderSizeAtFSRef_options(
    const Ref<NSFileManager>& self, const FSRef& item, NSUInteger options);

/// The same of a path; `options` 0 stands for OVFolderSizeDefault. 0 where there is nothing.
KESTOVA_FOUNDATION_EXPORT std::uint64_t sizeOfItemAtPath_options(const Ref<NSFileManager>& self,
                                                                 const Ref<NSString>& path,
                                                                 NSUInteger options);

/// @}

}  // namespace NSFileManager_KestovaFolderSizeAdditions

}  // namespace kestova
