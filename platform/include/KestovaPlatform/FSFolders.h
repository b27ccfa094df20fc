// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/FSRef.h>
#include <KestovaPlatform/Gestalt.h>
#include <KestovaPlatform/MacErrors.h>

#include <cstdint>

namespace kestova {

/// \name Where a folder is looked for
/// @{
enum : std::int16_t {
  kOnSystemDisk = -32768,       ///< the first of the three domains that has such a folder
  kOnAppropriateDisk = -32767,  ///< the same
  kSystemDomain = -32766,       ///< what the distribution brings
  kLocalDomain = -32765,        ///< what this machine's administrator adds for everybody
  kNetworkDomain = -32764,      ///< has no folders
  kUserDomain = -32763,         ///< the person's own
};
/// @}

/// \name Kinds of folders
/// @{
enum : OSType {
  kPreferencesFolderType = 0x70726566,         ///< 'pref': settings
  kCachedDataFolderType = 0x63616368,          ///< 'cach': what can be made again
  kApplicationSupportFolderType = 0x61737570,  ///< 'asup': data of applications
  kLogsFolderType = 0x6C6F6773,                ///< 'logs'
  kTemporaryFolderType = 0x74656D70,           ///< 'temp'
  kTrashFolderType = 0x74727368,               ///< 'trsh': what has been thrown away
  kFontsFolderType = 0x666F6E74,               ///< 'font'
  kApplicationsFolderType = 0x61707073,        ///< 'apps': the desktop's application entries
  kCurrentUserFolderType = 0x63757372,         ///< 'cusr': the person's folder
  kUsersFolderType = 0x75737273,               ///< 'usrs': that of everybody's folders
  kDesktopFolderType = 0x6465736B,             ///< 'desk'
  kDocumentsFolderType = 0x646F6373,           ///< 'docs'
  kDownloadsFolderType = 0x646F776E,           ///< 'down'
  kMusicDocumentsFolderType = 0xB5646F63,      ///< 'µdoc'
  kPictureDocumentsFolderType = 0x70646F63,    ///< 'pdoc'
  kMovieDocumentsFolderType = 0x6D646F63,      ///< 'mdoc'
  kPublicFolderType = 0x70756262,              ///< 'pubb'
};
/// @}

/// Finds a folder by its kind. With `createFolder` one that is missing is made, readable by the
/// person alone. Answers 0 and stores the folder; −43 (fnfErr) when there is none, or no such kind
/// in the domain; −120 (dirNFErr) when it can't be made. `folder`, which is required, is left alone
/// then.
///
/// The person's folders are those that XDG names for the base directories, variables heeded where
/// they are absolute paths, and those that user-dirs.dirs names, by their English names in the home
/// folder where it says nothing.
///
/// Any thread, as long as no other one changes the environment.
KESTOVA_PLATFORM_EXPORT OSStatus FSFindFolder(std::int16_t domain, OSType type, bool createFolder,
                                              FSRef* folder);

}  // namespace kestova
