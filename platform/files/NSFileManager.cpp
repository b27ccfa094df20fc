// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSFileManager.h>
#include <KestovaPlatform/NSNumber.h>

#include "files/ItemRenaming.h"
#include "files/TreeRemover.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

namespace kestova {

constinit const StringConstant NSFileType{"NSFileType"};
constinit const StringConstant NSFileSize{"NSFileSize"};
constinit const StringConstant NSFileModificationDate{"NSFileModificationDate"};
constinit const StringConstant NSFilePosixPermissions{"NSFilePosixPermissions"};
constinit const StringConstant NSFileOwnerAccountID{"NSFileOwnerAccountID"};
constinit const StringConstant NSFileGroupOwnerAccountID{"NSFileGroupOwnerAccountID"};
constinit const StringConstant NSFileReferenceCount{"NSFileReferenceCount"};
constinit const StringConstant NSFileSystemNumber{"NSFileSystemNumber"};
constinit const StringConstant NSFileSystemFileNumber{"NSFileSystemFileNumber"};

constinit const StringConstant NSFileTypeRegular{"NSFileTypeRegular"};
constinit const StringConstant NSFileTypeDirectory{"NSFileTypeDirectory"};
constinit const StringConstant NSFileTypeSymbolicLink{"NSFileTypeSymbolicLink"};
constinit const StringConstant NSFileTypeSocket{"NSFileTypeSocket"};
constinit const StringConstant NSFileTypeCharacterSpecial{"NSFileTypeCharacterSpecial"};
constinit const StringConstant NSFileTypeBlockSpecial{"NSFileTypeBlockSpecial"};
constinit const StringConstant NSFileTypeUnknown{"NSFileTypeUnknown"};

namespace {

namespace fs = std::filesystem;

/// Whether an operation that failed was reading or writing: the platform's codes tell these apart.
enum class Access { kReading, kWriting };

std::string bytesOf(const Ref<NSString>& path) {
  if (!path) {
    throw NSException(NSInvalidArgumentException, "A path is needed.");
  }
  return path->fileSystemRepresentation();
}

NSInteger codeFor(int number, Access access) {
  const bool reads = access == Access::kReading;
  switch (number) {
    case ENOENT:
    case ENOTDIR:
      return reads ? NSFileReadNoSuchFileError : NSFileNoSuchFileError;
    case EACCES:
    case EPERM:
      return reads ? NSFileReadNoPermissionError : NSFileWriteNoPermissionError;
    case ENAMETOOLONG:
      return reads ? NSFileReadInvalidFileNameError : NSFileWriteInvalidFileNameError;
    case EFBIG:
      return reads ? NSFileReadTooLargeError : NSFileWriteUnknownError;
    case EEXIST:
    case ENOTEMPTY:
      return NSFileWriteFileExistsError;
    case ENOSPC:
    case EDQUOT:
      return NSFileWriteOutOfSpaceError;
    case EROFS:
      return NSFileWriteVolumeReadOnlyError;
    default:
      return reads ? NSFileReadUnknownError : NSFileWriteUnknownError;
  }
}

Ref<NSError> errorFor(int number, Access access, const Ref<NSString>& path) {
  const Ref<NSString> reason = strerrordesc_np(number);
  const auto underlying = NSError::errorWithDomain_code_userInfo(
      NSPOSIXErrorDomain, number, NSDictionary::of({{NSLocalizedDescriptionKey, reason}}));
  const Ref<NSString> description =
      access == Access::kReading
          ? NSString::stringWithFormat("The item \"%@\" could not be read.", path)
          : NSString::stringWithFormat("The item \"%@\" could not be written.", path);
  return NSError::errorWithDomain_code_userInfo(
      NSCocoaErrorDomain, codeFor(number, access),
      NSDictionary::of({{NSLocalizedDescriptionKey, description},
                        {NSLocalizedFailureReasonErrorKey, reason},
                        {NSFilePathErrorKey, path},
                        {NSUnderlyingErrorKey, underlying}}));
}

/// Answers whether `number` is 0, and fills the error where it is not.
bool succeeded(int number, Access access, const Ref<NSString>& path, Ref<NSError>* error) {
  if (number != 0 && error != nullptr) {
    *error = errorFor(number, access, path);
  }
  return number == 0;
}

std::string withoutTrailingSlashes(std::string path) {
  while (path.size() > 1 && path.back() == '/') {
    path.pop_back();
  }
  return path;
}

bool isFolder(const std::string& path) {
  struct stat facts {};
  return ::stat(path.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode);
}

bool mayAccess(const Ref<NSString>& path, int mode) {
  return ::faccessat(AT_FDCWD, bytesOf(path).c_str(), mode, AT_EACCESS) == 0;
}

int makeFolder(const std::string& path) { return ::mkdir(path.c_str(), 0777) == 0 ? 0 : errno; }

/// Makes a folder and those missing above it. Somebody else may make one of them meanwhile.
int makeFolders(const std::string& path) {
  const int error = makeFolder(path);
  if (error == EEXIST && isFolder(path)) {
    return 0;
  }
  const std::string above = withoutTrailingSlashes(path.substr(0, path.rfind('/') + 1));
  if (error != ENOENT || above.empty() || above == path) {
    return error;
  }
  if (const int failed = makeFolders(above)) {
    return failed;
  }
  const int again = makeFolder(path);
  return again == EEXIST && isFolder(path) ? 0 : again;
}

int setPermissions(const std::string& path, const Ref<NSDictionary>& attributes) {
  const auto mode = attributes
                        ? cast<NSNumber>(attributes->objectForKey(NSFilePosixPermissions))
                        : nullptr;
  if (!mode) {
    return 0;
  }
  return ::chmod(path.c_str(), static_cast<mode_t>(mode->unsignedIntegerValue() & 07777)) == 0
             ? 0
             : errno;
}

const StringConstant& typeOf(mode_t mode) {
  switch (mode & S_IFMT) {
    case S_IFREG:
      return NSFileTypeRegular;
    case S_IFDIR:
      return NSFileTypeDirectory;
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

Ref<NSDate> modificationDate(const struct stat& facts) {
  return NSDate::dateWithTimeIntervalSince1970(static_cast<double>(facts.st_mtim.tv_sec) +
                                               static_cast<double>(facts.st_mtim.tv_nsec) * 1e-9);
}

Ref<NSDictionary> attributesFrom(const struct stat& facts) {
  return NSDictionary::of({{NSFileType, typeOf(facts.st_mode)},
                           {NSFileSize, static_cast<NSUInteger>(facts.st_size)},
                           {NSFileModificationDate, modificationDate(facts)},
                           {NSFilePosixPermissions, static_cast<NSUInteger>(facts.st_mode & 07777)},
                           {NSFileOwnerAccountID, static_cast<NSUInteger>(facts.st_uid)},
                           {NSFileGroupOwnerAccountID, static_cast<NSUInteger>(facts.st_gid)},
                           {NSFileReferenceCount, static_cast<NSUInteger>(facts.st_nlink)},
                           {NSFileSystemNumber, static_cast<NSUInteger>(facts.st_dev)},
                           {NSFileSystemFileNumber, static_cast<NSUInteger>(facts.st_ino)}});
}

}  // namespace

KESTOVA_DEFINE_CLASS(NSFileManager)

Ref<NSFileManager> NSFileManager::defaultManager() {
  static const Ref<NSFileManager>& manager = *new Ref<NSFileManager>(make<NSFileManager>());
  return manager;
}

bool NSFileManager::fileExistsAtPath(const Ref<NSString>& path) const {
  return fileExistsAtPath_isDirectory(path, nullptr);
}

bool NSFileManager::fileExistsAtPath_isDirectory(const Ref<NSString>& path,
                                                 bool* isDirectory) const {
  struct stat facts {};
  const bool exists = ::stat(bytesOf(path).c_str(), &facts) == 0;
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
  const std::string item = withoutTrailingSlashes(bytesOf(path));
  const std::string folder = item.substr(0, item.rfind('/') + 1) + ".";
  struct stat above {};
  struct stat facts {};
  if (::lstat(item.c_str(), &facts) != 0 || ::stat(folder.c_str(), &above) != 0 ||
      ::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0) {
    return false;
  }
  const uid_t user = ::geteuid();
  const bool mayIgnoreSticky = user == 0 || user == above.st_uid || user == facts.st_uid;
  return (above.st_mode & S_ISVTX) == 0 || mayIgnoreSticky;
}

Ref<NSDictionary> NSFileManager::attributesOfItemAtPath_error(const Ref<NSString>& path,
                                                              Ref<NSError>* error) const {
  struct stat facts {};
  const int number = ::lstat(bytesOf(path).c_str(), &facts) == 0 ? 0 : errno;
  return succeeded(number, Access::kReading, path, error) ? attributesFrom(facts) : nullptr;
}

Ref<NSArray> NSFileManager::contentsOfDirectoryAtPath_error(const Ref<NSString>& path,
                                                            Ref<NSError>* error) const {
  const auto names = NSMutableArray::array();
  std::error_code failure;
  for (fs::directory_iterator entry(bytesOf(path), failure), end; !failure && entry != end;
       entry.increment(failure)) {
    names->addObject(
        NSString::stringWithFileSystemRepresentation(entry->path().filename().native()));
  }
  if (!succeeded(failure.value(), Access::kReading, path, error)) {
    return nullptr;
  }
  return names;
}

bool NSFileManager::createDirectoryAtPath_withIntermediateDirectories_attributes_error(
    const Ref<NSString>& path, bool createIntermediates, const Ref<NSDictionary>& attributes,
    Ref<NSError>* error) const {
  const std::string folder = withoutTrailingSlashes(bytesOf(path));
  int number = createIntermediates ? makeFolders(folder) : makeFolder(folder);
  if (number == 0) {
    number = setPermissions(folder, attributes);
  }
  return succeeded(number, Access::kWriting, path, error);
}

bool NSFileManager::removeItemAtPath_error(const Ref<NSString>& path, Ref<NSError>* error) const {
  const int number = removeTree(AT_FDCWD, withoutTrailingSlashes(bytesOf(path)));
  return succeeded(number, Access::kWriting, path, error);
}

bool NSFileManager::moveItemAtPath_toPath_error(const Ref<NSString>& from, const Ref<NSString>& to,
                                                Ref<NSError>* error) const {
  const std::string source = withoutTrailingSlashes(bytesOf(from));
  const std::string target = withoutTrailingSlashes(bytesOf(to));
  const int number = renameToNew({AT_FDCWD, source}, {AT_FDCWD, target});
  return succeeded(number, Access::kWriting, number == EEXIST ? to : from, error);
}

bool NSFileManager::createSymbolicLinkAtPath_withDestinationPath_error(
    const Ref<NSString>& path, const Ref<NSString>& destination, Ref<NSError>* error) const {
  const int number =
      ::symlink(bytesOf(destination).c_str(), bytesOf(path).c_str()) == 0 ? 0 : errno;
  return succeeded(number, Access::kWriting, path, error);
}

Ref<NSString> NSFileManager::destinationOfSymbolicLinkAtPath_error(const Ref<NSString>& path,
                                                                   Ref<NSError>* error) const {
  std::array<char, PATH_MAX> text{};
  const ssize_t length = ::readlink(bytesOf(path).c_str(), text.data(), text.size());
  if (!succeeded(length < 0 ? errno : 0, Access::kReading, path, error)) {
    return nullptr;
  }
  return NSString::stringWithFileSystemRepresentation(
      {text.data(), static_cast<std::size_t>(length)});
}

Ref<NSString> NSFileManager::currentDirectoryPath() const {
  std::error_code failure;
  const fs::path folder = fs::current_path(failure);
  return failure ? nullptr : NSString::stringWithFileSystemRepresentation(folder.native());
}

bool NSFileManager::changeCurrentDirectoryPath(const Ref<NSString>& path) const {
  return ::chdir(bytesOf(path).c_str()) == 0;
}

Ref<NSString> NSTemporaryDirectory() {
  const char* folder = std::getenv("TMPDIR");
  return NSString::stringWithFileSystemRepresentation(
      folder == nullptr || *folder == '\0' ? "/tmp" : folder);
}

Ref<NSString> NSHomeDirectory() {
  if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
    return NSString::stringWithFileSystemRepresentation(home);
  }
  std::array<char, 4096> buffer{};
  passwd entry{};
  passwd* found = nullptr;
  ::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found);
  return NSString::stringWithFileSystemRepresentation(found == nullptr ? "/" : found->pw_dir);
}

}  // namespace kestova
