// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSFileManager.h>
#include <KestovaPlatform/NSNumber.h>

#include "files/FileError.h"
#include "files/FileSystemCalls.h"
#include "files/FileTransfer.h"
#include "files/FolderMaking.h"
#include "files/NativePath.h"
#include "files/PathText.h"
#include "files/StatusForErrno.h"
#include "files/TreeRemover.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <vector>

namespace kestova {

constinit const StringConstant NSFileType{"NSFileType"};
constinit const StringConstant NSFileSize{"NSFileSize"};
constinit const StringConstant NSFileModificationDate{"NSFileModificationDate"};
constinit const StringConstant NSFileCreationDate{"NSFileCreationDate"};
constinit const StringConstant NSFilePosixPermissions{"NSFilePosixPermissions"};
constinit const StringConstant NSFileReferenceCount{"NSFileReferenceCount"};
constinit const StringConstant NSFileSystemNumber{"NSFileSystemNumber"};
constinit const StringConstant NSFileSystemFileNumber{"NSFileSystemFileNumber"};
constinit const StringConstant NSFileOwnerAccountID{"NSFileOwnerAccountID"};
constinit const StringConstant NSFileGroupOwnerAccountID{"NSFileGroupOwnerAccountID"};

constinit const StringConstant NSFileTypeDirectory{"NSFileTypeDirectory"};
constinit const StringConstant NSFileTypeRegular{"NSFileTypeRegular"};
constinit const StringConstant NSFileTypeSymbolicLink{"NSFileTypeSymbolicLink"};
constinit const StringConstant NSFileTypeSocket{"NSFileTypeSocket"};
constinit const StringConstant NSFileTypeCharacterSpecial{"NSFileTypeCharacterSpecial"};
constinit const StringConstant NSFileTypeBlockSpecial{"NSFileTypeBlockSpecial"};
constinit const StringConstant NSFileTypeUnknown{"NSFileTypeUnknown"};

KESTOVA_DEFINE_CLASS(NSFileManager)

namespace {

namespace fs = std::filesystem;

/// What a path that can name nothing fails with.
constexpr int kBadName = EILSEQ;

bool mayAccess(const Ref<NSString>& path, int mode) {
  const auto native = nativePath(path);
  return native && faccessat(AT_FDCWD, native->c_str(), mode, AT_EACCESS) == 0;
}

/// The last name of a path and the folder that it is in: "a" is in ".".
struct Place {
  std::string folder;
  std::string name;

  /// Whether the name is one that an item can be given, or lose.
  bool isChangeable() const { return !name.empty() && !isSelfOrParent(name); }
};

Place placeOf(const std::string& path) {
  const std::string bare = withoutTrailingSlashes(path);
  const auto slash = bare.rfind('/');
  return slash == bare.npos ? Place{".", bare}
                            : Place{bare.substr(0, slash + 1), bare.substr(slash + 1)};
}

/// Whether the sticky bit of a folder keeps this process from removing an item in it.
bool isHeldBySticky(const struct stat& folder, const struct stat& item) {
  const uid_t self = geteuid();
  return (folder.st_mode & S_ISVTX) != 0 && self != 0 && self != folder.st_uid &&
         self != item.st_uid;
}

const StringConstant& typeOf(mode_t mode) {
  switch (mode & S_IFMT) {
    case S_IFDIR:
      return NSFileTypeDirectory;
    case S_IFREG:
      return NSFileTypeRegular;
    case S_IFLNK:
      return NSFileTypeSymbolicLink;
    case S_IFSOCK:
      return NSFileTypeSocket;
    case S_IFCHR:
      return NSFileTypeCharacterSpecial;
    case S_IFBLK:
      return NSFileTypeBlockSpecial;
    default:
      return NSFileTypeUnknown;
  }
}

Ref<NSDate> dateOf(const statx_timestamp& time) {
  return NSDate::dateWithTimeIntervalSinceReferenceDate(static_cast<double>(time.tv_sec) -
                                                        NSTimeIntervalSince1970 +
                                                        static_cast<double>(time.tv_nsec) * 1e-9);
}

Ref<NSDictionary> attributesOf(const struct statx& facts) {
  const auto attributes = NSMutableDictionary::of({
      {NSFileType, typeOf(facts.stx_mode)},
      {NSFileSize, facts.stx_size},
      {NSFileModificationDate, dateOf(facts.stx_mtime)},
      {NSFilePosixPermissions, facts.stx_mode & 07777},
      {NSFileReferenceCount, facts.stx_nlink},
      {NSFileSystemNumber, NSUInteger{facts.stx_dev_major} << 32 | facts.stx_dev_minor},
      {NSFileSystemFileNumber, facts.stx_ino},
      {NSFileOwnerAccountID, facts.stx_uid},
      {NSFileGroupOwnerAccountID, facts.stx_gid},
  });
  if ((facts.stx_mask & STATX_BTIME) != 0) {
    attributes->setObject_forKey(dateOf(facts.stx_btime), NSFileCreationDate);
  }
  return attributes;
}

std::optional<mode_t> permissionsIn(const Ref<NSDictionary>& attributes) {
  const auto number =
      attributes ? cast<NSNumber>(attributes->objectForKey(NSFilePosixPermissions)) : nullptr;
  return number ? std::optional(static_cast<mode_t>(number->unsignedIntValue() & 07777))
                : std::nullopt;
}

int removeAt(const Place& place) {
  if (!place.isChangeable()) {
    return EINVAL;
  }
  const FileDescriptor folder(
      openExisting(AT_FDCWD, place.folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  return folder ? removeTree(folder.get(), place.name) : errno;
}

bool succeedOrFail(int number, const Ref<NSString>& path, Ref<NSError>* error) {
  return number == 0 || failWith(error, fileError(FileAccess::writing, path, number));
}

bool transfer(TransferKind kind, const Ref<NSString>& path, const Ref<NSString>& toPath,
              Ref<NSError>* error) {
  const auto source = nativePath(path);
  const auto destination = nativePath(toPath);
  if (!source || !destination) {
    return succeedOrFail(kBadName, source ? toPath : path, error);
  }
  const Place place = placeOf(*destination);
  FileTransfer transfer({*source, place.folder, place.name, kind});
  OSStatus status = transfer.start();
  status = status == noErr ? transfer.wait() : status;
  return status == noErr ||
         succeedOrFail(errnoForStatus(status), status == dupFNErr ? toPath : path, error);
}

/// The home folder of this process's account, as the account says.
std::string accountHome() {
  passwd account;
  passwd* found = nullptr;
  std::vector<char> buffer(1024);
  while (getpwuid_r(geteuid(), &account, buffer.data(), buffer.size(), &found) == ERANGE) {
    buffer.resize(2 * buffer.size());
  }
  return found != nullptr && found->pw_dir[0] == '/' ? found->pw_dir : "/";
}

}  // namespace

Ref<NSFileManager> NSFileManager::defaultManager() {
  static const auto& shared = *new Ref<NSFileManager>(make<NSFileManager>());
  return shared;
}

Ref<NSFileManager> NSFileManager::init() { return make<NSFileManager>(); }

bool NSFileManager::fileExistsAtPath(const Ref<NSString>& path) const {
  return fileExistsAtPath_isDirectory(path, nullptr);
}

bool NSFileManager::fileExistsAtPath_isDirectory(const Ref<NSString>& path,
                                                 bool* isDirectory) const {
  const auto native = nativePath(path);
  struct stat facts;
  const bool exists = native && stat(native->c_str(), &facts) == 0;
  if (isDirectory != nullptr) {
    *isDirectory = exists && S_ISDIR(facts.st_mode);
  }
  return exists;
}

bool NSFileManager::isReadableFileAtPath(const Ref<NSString>& path) const {
  return mayAccess(path, R_OK);
}
bool NSFileManager::isWritableFileAtPath(const Ref<NSString>& path) const {
  return mayAccess(path, W_OK);
}
bool NSFileManager::isExecutableFileAtPath(const Ref<NSString>& path) const {
  return mayAccess(path, X_OK);
}

bool NSFileManager::isDeletableFileAtPath(const Ref<NSString>& path) const {
  const auto native = nativePath(path);
  const Place place = placeOf(native.value_or(""));
  struct stat item;
  struct stat folder;
  return place.isChangeable() && lstat((place.folder + '/' + place.name).c_str(), &item) == 0 &&
         stat(place.folder.c_str(), &folder) == 0 && !isHeldBySticky(folder, item) &&
         faccessat(AT_FDCWD, place.folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

Ref<NSArray> NSFileManager::contentsOfDirectoryAtPath_error(const Ref<NSString>& path,
                                                            Ref<NSError>* error) const {
  const auto native = nativePath(path);
  std::error_code failure(native ? 0 : kBadName, std::generic_category());
  std::vector<std::string> names;
  if (native) {
    for (fs::directory_iterator walk(*native, failure), end; !failure && walk != end;
         walk.increment(failure)) {
      names.push_back(walk->path().filename().string());
    }
  }
  if (failure) {
    failWith(error, fileError(FileAccess::reading, path, failure.value()));
    return nullptr;
  }
  std::sort(names.begin(), names.end());
  const auto contents = NSMutableArray::arrayWithCapacity(names.size());
  for (const auto& name : names) {
    contents->addObject(NSString::stringWithFileSystemRepresentation(name));
  }
  return contents;
}

Ref<NSDictionary> NSFileManager::attributesOfItemAtPath_error(const Ref<NSString>& path,
                                                              Ref<NSError>* error) const {
  const auto native = nativePath(path);
  struct statx facts;
  if (native && statx(AT_FDCWD, native->c_str(), AT_SYMLINK_NOFOLLOW,
                      STATX_BASIC_STATS | STATX_BTIME, &facts) == 0) {
    return attributesOf(facts);
  }
  failWith(error, fileError(FileAccess::reading, path, native ? errno : kBadName));
  return nullptr;
}

Ref<NSString> NSFileManager::destinationOfSymbolicLinkAtPath_error(const Ref<NSString>& path,
                                                                   Ref<NSError>* error) const {
  const auto native = nativePath(path);
  std::error_code failure(native ? 0 : kBadName, std::generic_category());
  const fs::path destination = native ? fs::read_symlink(*native, failure) : fs::path();
  if (failure) {
    failWith(error, fileError(FileAccess::reading, path, failure.value()));
    return nullptr;
  }
  return NSString::stringWithFileSystemRepresentation(destination.native());
}

bool NSFileManager::changeCurrentDirectoryPath(const Ref<NSString>& path) const {
  const auto native = nativePath(path);
  return native && chdir(native->c_str()) == 0;
}

Ref<NSString> NSFileManager::currentDirectoryPath() const {
  std::error_code failure;
  const fs::path current = fs::current_path(failure);
  return failure ? nullptr : NSString::stringWithFileSystemRepresentation(current.native());
}

bool NSFileManager::createDirectoryAtPath_withIntermediateDirectories_attributes_error(
    const Ref<NSString>& path, bool withIntermediateDirectories,
    const Ref<NSDictionary>& attributes, Ref<NSError>* error) const {
  const auto native = nativePath(path);
  if (!native) {
    return succeedOrFail(kBadName, path, error);
  }
  const auto permissions = permissionsIn(attributes);
  if (withIntermediateDirectories) {
    return succeedOrFail(makeFolders(withoutTrailingSlashes(*native), permissions), path, error);
  }
  return succeedOrFail(makeFolder(*native, permissions), path, error);
}

bool NSFileManager::createSymbolicLinkAtPath_withDestinationPath_error(
    const Ref<NSString>& path, const Ref<NSString>& destination, Ref<NSError>* error) const {
  const auto native = nativePath(path);
  const auto target = nativePath(destination);
  if (!native || !target) {
    return succeedOrFail(kBadName, path, error);
  }
  return succeedOrFail(symlink(target->c_str(), native->c_str()) == 0 ? 0 : errno, path, error);
}

bool NSFileManager::removeItemAtPath_error(const Ref<NSString>& path, Ref<NSError>* error) const {
  const auto native = nativePath(path);
  return succeedOrFail(native ? removeAt(placeOf(*native)) : kBadName, path, error);
}

bool NSFileManager::moveItemAtPath_toPath_error(const Ref<NSString>& path,
                                                const Ref<NSString>& toPath,
                                                Ref<NSError>* error) const {
  return transfer(TransferKind::move, path, toPath, error);
}

bool NSFileManager::copyItemAtPath_toPath_error(const Ref<NSString>& path,
                                                const Ref<NSString>& toPath,
                                                Ref<NSError>* error) const {
  return transfer(TransferKind::copy, path, toPath, error);
}

Ref<NSString> NSTemporaryDirectory() {
  const char* chosen = std::getenv("TMPDIR");
  const bool isUsable = chosen != nullptr && chosen[0] == '/' && isFolder(chosen);
  return NSString::stringWithFileSystemRepresentation(
      withTrailingSlash(isUsable ? chosen : "/tmp"));
}

Ref<NSString> NSHomeDirectory() {
  const char* home = std::getenv("HOME");
  return NSString::stringWithFileSystemRepresentation(
      home != nullptr && home[0] == '/' ? std::string(home) : accountHome());
}

}  // namespace kestova
