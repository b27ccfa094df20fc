// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/FSFolders.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSFileManager.h>
#include <KestovaPlatform/NSNumber.h>

#include <algorithm>
#include <array>
#include <optional>

#include "files/NativePath.h"
#include "files/PathText.h"
#include "files/UserDirectories.h"

namespace kestova {
namespace {

std::string cacheHome() { return baseDirectory("XDG_CACHE_HOME", ".cache"); }
std::string dataHome() { return baseDirectory("XDG_DATA_HOME", ".local/share"); }
std::string stateHome() { return baseDirectory("XDG_STATE_HOME", ".local/state"); }
std::string trash() { return dataHome() + "/Trash/files"; }
std::string fonts() { return dataHome() + "/fonts"; }
std::string applications() { return dataHome() + "/applications"; }
std::string temporary() { return *nativePath(NSTemporaryDirectory()); }

/// A folder that the person may have put anywhere, or that has its usual name.
std::string userFolder(const char* variable, const char* usual) {
  const auto list = NSData::dataWithContentsOfFile(
      NSString::stringWithFileSystemRepresentation(configHome() + "/user-dirs.dirs"));
  const auto bytes = list ? list->span() : std::span<const std::byte>();
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  const auto chosen = userDirectory(text, variable, homeFolder());
  return chosen ? *chosen : withTrailingSlash(homeFolder()) + usual;
}

std::string desktop() { return userFolder("XDG_DESKTOP_DIR", "Desktop"); }
std::string documents() { return userFolder("XDG_DOCUMENTS_DIR", "Documents"); }
std::string downloads() { return userFolder("XDG_DOWNLOAD_DIR", "Downloads"); }
std::string music() { return userFolder("XDG_MUSIC_DIR", "Music"); }
std::string pictures() { return userFolder("XDG_PICTURES_DIR", "Pictures"); }
std::string movies() { return userFolder("XDG_VIDEOS_DIR", "Videos"); }
std::string publicShare() { return userFolder("XDG_PUBLICSHARE_DIR", "Public"); }

/// Where the folders of one kind are; null where a domain has none.
struct Places {
  OSType type;
  std::string (*user)();
  const char* local;
  const char* system;
};

constexpr std::array kPlaces = {
    Places{kPreferencesFolderType, configHome, "/etc/xdg", "/etc"},
    Places{kCachedDataFolderType, cacheHome, "/var/cache", "/var/cache"},
    Places{kApplicationSupportFolderType, dataHome, "/usr/local/share", "/usr/share"},
    Places{kLogsFolderType, stateHome, "/var/log", "/var/log"},
    Places{kTemporaryFolderType, temporary, "/tmp", "/tmp"},
    Places{kTrashFolderType, trash, nullptr, nullptr},
    Places{kFontsFolderType, fonts, "/usr/local/share/fonts", "/usr/share/fonts"},
    Places{kApplicationsFolderType, applications, "/usr/local/share/applications",
           "/usr/share/applications"},
    Places{kCurrentUserFolderType, homeFolder, nullptr, nullptr},
    Places{kUsersFolderType, nullptr, "/home", "/home"},
    Places{kDesktopFolderType, desktop, nullptr, nullptr},
    Places{kDocumentsFolderType, documents, nullptr, nullptr},
    Places{kDownloadsFolderType, downloads, nullptr, nullptr},
    Places{kMusicDocumentsFolderType, music, nullptr, nullptr},
    Places{kPictureDocumentsFolderType, pictures, nullptr, nullptr},
    Places{kMovieDocumentsFolderType, movies, nullptr, nullptr},
    Places{kPublicFolderType, publicShare, nullptr, nullptr},
};

std::optional<std::string> placeIn(std::int16_t domain, const Places& places) {
  const char* const fixed = domain == kLocalDomain    ? places.local
                            : domain == kSystemDomain ? places.system
                                                      : nullptr;
  if (domain == kUserDomain && places.user != nullptr) {
    return withoutTrailingSlashes(places.user());
  }
  return fixed != nullptr ? std::optional<std::string>(fixed) : std::nullopt;
}

/// Makes a folder and those that lead to it, all for the person alone.
bool makeFolder(const std::string& path) {
  return NSFileManager::defaultManager()
      ->createDirectoryAtPath_withIntermediateDirectories_attributes_error(
          NSString::stringWithFileSystemRepresentation(path), true,
          NSDictionary::of({{NSFilePosixPermissions, 0700}}));
}

OSStatus find(std::int16_t domain, const Places& places, bool createFolder, FSRef* folder) {
  auto path = placeIn(domain, places);
  if (!path || !(isFolder(*path) || createFolder)) {
    return fnfErr;
  }
  if (!isFolder(*path) && !makeFolder(*path)) {
    return dirNFErr;
  }
  folder->path = std::move(*path);
  return noErr;
}

/// In the first domain that has it; where none has, it is made in the first one.
OSStatus findAnywhere(const Places& places, bool createFolder, FSRef* folder) {
  for (const std::int16_t domain : {kUserDomain, kLocalDomain, kSystemDomain}) {
    if (find(domain, places, false, folder) == noErr) {
      return noErr;
    }
  }
  return createFolder ? find(kUserDomain, places, true, folder) : fnfErr;
}

}  // namespace

OSStatus FSFindFolder(std::int16_t domain, OSType type, bool createFolder, FSRef* folder) {
  const auto places =
      std::ranges::find_if(kPlaces, [type](const Places& each) { return each.type == type; });
  if (places == kPlaces.end()) {
    return fnfErr;
  }
  const bool isAnywhere = domain == kOnSystemDisk || domain == kOnAppropriateDisk;
  return isAnywhere ? findAnywhere(*places, createFolder, folder)
                    : find(domain, *places, createFolder, folder);
}

}  // namespace kestova
