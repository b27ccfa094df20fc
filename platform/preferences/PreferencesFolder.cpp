// SPDX-License-Identifier: Apache-2.0
#include "preferences/PreferencesFolder.h"

#include <KestovaPlatform/NSException.h>

#include "files/FileSystemCalls.h"
#include "files/UserDirectories.h"
#include "preferences/PreferencesFault.h"
#include "values/HexDigit.h"

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

namespace kestova {
namespace {

constexpr const char* kFolderName = "/kestova";
constexpr std::string_view kNoName = "%";

bool isPlain(char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
         (byte >= '0' && byte <= '9') || byte == '-' || byte == '_' || byte == '.';
}

std::string escaped(char byte) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const auto bits = static_cast<unsigned char>(byte);
  return {'%', kDigits[bits >> 4], kDigits[bits & 15]};
}

/// The bytes that a stem stands for where it has proper escapes, else any.
std::string unescaped(std::string_view stem) {
  std::string bytes;
  for (std::size_t at = 0; at < stem.size(); ++at) {
    if (stem[at] == '%' && at + 2 < stem.size()) {
      const auto valueAt = [&](std::size_t place) {
        return hexValueOf(static_cast<unsigned char>(stem[place]));
      };
      bytes.push_back(static_cast<char>(valueAt(at + 1) * 16 + valueAt(at + 2)));
      at += 2;
    } else {
      bytes.push_back(stem[at]);
    }
  }
  return bytes;
}

std::string parentOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

struct FolderCloser {
  void operator()(DIR* folder) const { ::closedir(folder); }
};

void flushFolder(const std::string& path) {
  const FileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder) {
    ::fsync(folder.get());
  }
}

}  // namespace

PreferencesFault systemFault(const char* deed, int errorNumber) {
  return {NSString::stringWithFormat("%s: %s", deed, std::strerror(errorNumber))};
}

PreferencesFolder PreferencesFolder::ofCurrentUser() {
  return {configHome() + kFolderName, ::geteuid()};
}

std::optional<PreferencesFolder> PreferencesFolder::ofUser(const std::string& name) {
  struct passwd account {};
  struct passwd* found = nullptr;
  std::array<char, 16384> texts;
  if (::getpwnam_r(name.c_str(), &account, texts.data(), texts.size(), &found) != 0 ||
      found == nullptr) {
    return std::nullopt;
  }
  if (account.pw_uid == ::geteuid()) {
    return ofCurrentUser();
  }
  return PreferencesFolder(std::string(account.pw_dir) + "/.config" + kFolderName, account.pw_uid);
}

FileDescriptor PreferencesFolder::open() const {
  FileDescriptor folder(uninterrupted([&] {
    return FileSystemCalls::current().openat(AT_FDCWD, path_.c_str(),
                                             O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
  }));
  if (!folder) {
    if (errno == ENOENT) {
      return {};
    }
    throw systemFault("the folder cannot be opened", errno);
  }
  struct stat facts {};
  if (::fstat(folder.get(), &facts) != 0 || (facts.st_uid != owner_ && facts.st_uid != 0)) {
    throw PreferencesFault{"the folder belongs to another user"};
  }
  return folder;
}

FileDescriptor PreferencesFolder::openOrMake() const {
  if (FileDescriptor folder = open()) {
    return folder;
  }
  make(parentOf(path_));
  make(path_);
  FileDescriptor folder = open();
  if (!folder) {
    throw systemFault("the folder cannot be made", ENOENT);
  }
  return folder;
}

void PreferencesFolder::make(const std::string& path) const {
  if (::mkdir(path.c_str(), 0700) == 0) {
    flushFolder(parentOf(path));
    const FileDescriptor made(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    giveToOwner(made.get());
  } else if (errno != EEXIST) {
    throw systemFault("the folder cannot be made", errno);
  }
}

FileDescriptor PreferencesFolder::openFile(int folder, const std::string& name, int flags) const {
  FileDescriptor file(uninterrupted([&] {
    return FileSystemCalls::current().openat(folder, name.c_str(),
                                             flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
  }));
  if (!file) {
    if (errno == ENOENT && (flags & O_CREAT) == 0) {
      return {};
    }
    throw errno == ELOOP ? PreferencesFault{name + " is a symbolic link"}
                         : systemFault((name + " cannot be opened").c_str(), errno);
  }
  giveToOwner(file.get());
  struct stat facts {};
  if (::fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode)) {
    throw PreferencesFault{name + " is no file"};
  }
  if (facts.st_uid != owner_) {
    throw PreferencesFault{name + " belongs to another user"};
  }
  return file;
}

/// What a privileged process has made for somebody else becomes his. A file that has other names is
/// none that was just made.
void PreferencesFolder::giveToOwner(int file) const {
  struct stat facts {};
  if (::geteuid() == owner_ || ::fstat(file, &facts) != 0 || facts.st_uid != ::geteuid() ||
      (S_ISREG(facts.st_mode) && facts.st_nlink != 1)) {
    return;
  }
  if (::fchown(file, owner_, static_cast<gid_t>(-1)) != 0) {
    throw systemFault("nothing can be made for another user", errno);
  }
}

std::vector<std::string> PreferencesFolder::list() const {
  std::vector<std::string> names;
  const std::unique_ptr<DIR, FolderCloser> folder(::opendir(path_.c_str()));
  while (const dirent* entry = folder ? ::readdir(folder.get()) : nullptr) {
    names.emplace_back(entry->d_name);
  }
  return names;
}

std::string fileStemForDomain(const Ref<NSString>& domain) {
  const auto bytes = domain->UTF8String();
  if (!bytes) {
    throw NSException(NSInvalidArgumentException, "The name of a domain has no UTF-8 form");
  }
  std::string stem(bytes->empty() ? kNoName : "");
  for (const char byte : *bytes) {
    const bool staysAsItIs = isPlain(byte) && !(stem.empty() && byte == '.');
    stem += staysAsItIs ? std::string(1, byte) : escaped(byte);
  }
  return stem;
}

Ref<NSString> domainForFileStem(std::string_view stem) {
  const auto domain =
      NSString::stringWithUTF8String(stem == kNoName ? std::string() : unescaped(stem));
  return domain && fileStemForDomain(domain) == stem ? domain : nullptr;
}

}  // namespace kestova
