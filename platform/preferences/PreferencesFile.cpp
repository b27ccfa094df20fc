// SPDX-License-Identifier: Apache-2.0
#include "preferences/PreferencesFile.h"

#include <KestovaPlatform/Clock.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>

#include "files/FileSystemCalls.h"
#include "files/ItemRenaming.h"
#include "files/WholeFile.h"
#include "preferences/PreferencesFault.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <ctime>
#include <utility>

namespace kestova {
namespace {

constexpr off_t kLargestFile = off_t{64} << 20;
constexpr int kMostNames = 1000;

std::int64_t nanoseconds(const timespec& time) {
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

FileIdentity identityOf(const struct stat& facts) {
  return {facts.st_dev, facts.st_ino, facts.st_size, nanoseconds(facts.st_mtim),
          nanoseconds(facts.st_ctim)};
}

FileIdentity identityOf(int file) {
  struct stat facts {};
  if (::fstat(file, &facts) != 0) {
    throw systemFault("the file cannot be looked at", errno);
  }
  return identityOf(facts);
}

void check(int result, const char* deed) {
  if (result != 0) {
    throw systemFault(deed, errno);
  }
}

/// Now in UTC, as part of a name: "20010131T120000Z".
std::string dateForName() {
  const auto now = static_cast<std::time_t>(CFAbsoluteTimeGetCurrent() + NSTimeIntervalSince1970);
  std::tm parts{};
  std::array<char, 32> text{};
  if (::gmtime_r(&now, &parts) != nullptr) {
    std::strftime(text.data(), text.size(), "%Y%m%dT%H%M%SZ", &parts);
  }
  return text.data();
}

/// Removes a file unless it took its place under another name.
class Unfinished {
 public:
  Unfinished(int folder, std::string name) : folder_(folder), name_(std::move(name)) {}
  Unfinished(const Unfinished&) = delete;
  Unfinished& operator=(const Unfinished&) = delete;
  ~Unfinished() {
    if (!isFinished_) {
      FileSystemCalls::current().unlinkat(folder_, name_.c_str(), 0);
    }
  }

  void becomeNamed(const std::string& name) {
    check(FileSystemCalls::current().renameat2(folder_, name_.c_str(), folder_, name.c_str(), 0),
          "the file cannot be replaced");
    isFinished_ = true;
  }

 private:
  int folder_;
  std::string name_;
  bool isFinished_ = false;
};

}  // namespace

FileIdentity identityAt(const std::string& path) noexcept {
  struct stat facts {};
  return ::lstat(path.c_str(), &facts) == 0 ? identityOf(facts) : FileIdentity();
}

FileIdentity PreferencesFile::identity() const {
  struct stat facts {};
  if (::fstatat(openFolder_, name_.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0) {
    if (errno == ENOENT) {
      return {};
    }
    throw systemFault("the file cannot be looked at", errno);
  }
  return identityOf(facts);
}

PreferencesFile::Contents PreferencesFile::read() const {
  FileDescriptor file = folder_.openFile(openFolder_, name_, O_RDONLY);
  if (!file) {
    return {{}, NSDictionary::dictionary()};
  }
  const FileIdentity identity = identityOf(file.get());
  if (identity.size > kLargestFile) {
    throw PreferencesFault{name_ + " is larger than 64 MiB"};
  }
  const auto bytes = NSMutableData::data();
  if (const int error = readWholeFile(file.get(), *bytes); error != 0) {
    throw systemFault((name_ + " cannot be read").c_str(), error);
  }
  return {{identity, std::move(file)}, preferencesInData(bytes)};
}

SeenFile PreferencesFile::replace(std::span<const std::byte> bytes) const {
  if (bytes.size() > static_cast<std::size_t>(kLargestFile)) {
    throw PreferencesFault{name_ + " would be larger than 64 MiB"};
  }
  FileSystemCalls::current().unlinkat(openFolder_, newName().c_str(), 0);
  Unfinished unfinished(openFolder_, newName());
  FileDescriptor file = folder_.openFile(openFolder_, newName(), O_WRONLY | O_CREAT | O_EXCL);
  fill(file.get(), bytes);
  unfinished.becomeNamed(name_);
  flushFolder();
  const FileIdentity identity = identityOf(file.get());
  return {identity, std::move(file)};
}

void PreferencesFile::fill(int file, std::span<const std::byte> bytes) const {
  if (const int error = writeAll(file, bytes); error != 0) {
    throw systemFault("the file cannot be written", error);
  }
  check(FileSystemCalls::current().fdatasync(file), "the file cannot be written");
}

void PreferencesFile::remove() const {
  if (FileSystemCalls::current().unlinkat(openFolder_, name_.c_str(), 0) == 0) {
    flushFolder();
  } else if (errno != ENOENT) {
    throw systemFault("the file cannot be removed", errno);
  }
}

std::string PreferencesFile::putAside() const {
  const std::string first = name_ + ".damaged-" + dateForName();
  std::string name = first;
  int error = renameToNew({openFolder_, name_}, {openFolder_, name});
  for (int next = 2; error == EEXIST && next < kMostNames; ++next) {
    name = first + "-" + std::to_string(next);
    error = renameToNew({openFolder_, name_}, {openFolder_, name});
  }
  if (error != 0) {
    throw systemFault("the damaged file cannot be put aside", error);
  }
  flushFolder();
  return name;
}

void PreferencesFile::flushFolder() const {
  check(::fsync(openFolder_), "the folder cannot be written");
}

Ref<NSDictionary> preferencesInData(const Ref<NSData>& bytes) {
  Ref<NSError> error;
  const auto list = NSPropertyListSerialization::propertyListWithData_options_format_error(
      bytes, NSPropertyListImmutable, nullptr, &error);
  const auto dictionary = cast<NSDictionary>(list);
  if (!dictionary) {
    throw DamagedPreferences{error ? error->localizedDescription()
                                   : "There is no dictionary at its top."};
  }
  return dictionary;
}

}  // namespace kestova
