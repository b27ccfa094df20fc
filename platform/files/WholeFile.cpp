// SPDX-License-Identifier: Apache-2.0
#include "files/WholeFile.h"

#include "files/FileDescriptor.h"
#include "files/FileSystemCalls.h"
#include "files/ItemRenaming.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>

namespace kestova {
namespace {

constexpr NSUInteger kSmallestPiece = NSUInteger{64} << 10;
constexpr NSUInteger kLargestPiece = NSUInteger{16} << 20;

/// How much to ask for next: what the file claims to have left, and one byte more to see its end
/// there, within bounds: the claim is not believed further than one piece.
NSUInteger nextPiece(int file, NSUInteger alreadyRead) {
  struct stat facts;
  const bool tellsSize = fstat(file, &facts) == 0 && facts.st_size > 0;
  const auto size = tellsSize ? static_cast<NSUInteger>(facts.st_size) : 0;
  const NSUInteger left = size > alreadyRead ? size - alreadyRead + 1 : 0;
  return std::clamp(left, kSmallestPiece, kLargestPiece);
}

FileDescriptor openFile(const std::string& path, int flags, mode_t mode = 0) {
  return FileDescriptor(uninterrupted([&] {
    return FileSystemCalls::current().openat(AT_FDCWD, path.c_str(), flags | O_CLOEXEC, mode);
  }));
}

int writeAndClose(FileDescriptor& file, std::span<const std::byte> contents) {
  const int error = writeAll(file.get(), contents);
  const int closeError = file.close();
  return error != 0 ? error : closeError;
}

/// Makes `path` the name behind symbolic links; leaves it where there is none yet. 0 or the error
/// number.
int resolve(std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                         &std::free);
  if (!real) {
    return errno == ENOENT ? 0 : errno;
  }
  path = real.get();
  return 0;
}

/// What is known of the file; nothing when there is none. 0 or the error number.
int look(const std::string& path, std::optional<struct stat>& facts) {
  struct stat found;
  if (stat(path.c_str(), &found) != 0) {
    return errno == ENOENT ? 0 : errno;
  }
  facts = found;
  return 0;
}

std::string newNameBeside(const std::string& path) {
  return path.substr(0, path.rfind('/') + 1) + ".kestova-write-" + randomHexDigits();
}

/// A new file beside the one that it is to replace, removed again unless it took that one's name.
class Replacement {
 public:
  explicit Replacement(const std::string& path) : path_(path), name_(newNameBeside(path)) {}
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;
  ~Replacement() {
    if (isUnfinished_) {
      unlink(name_.c_str());
    }
  }

  /// `old` holds what is known of the old file; nothing when there is none. A new one gets the mode
  /// that the process gives to new files.
  int create(const std::optional<struct stat>& old) {
    const mode_t mode = old ? old->st_mode & 07777 : 0666;
    file_ = openFile(name_, O_WRONLY | O_CREAT | O_EXCL, mode);
    if (!file_) {
      return errno;
    }
    isUnfinished_ = true;
    if (!old) {
      return 0;
    }
    // Only a privileged process may keep another owner; it does so before it sets the mode, which a
    // change of owner may narrow.
    const bool isOwned = fchown(file_.get(), old->st_uid, old->st_gid) == 0;
    return fchmod(file_.get(), isOwned ? mode : mode & 0777) == 0 ? 0 : errno;
  }

  int fill(std::span<const std::byte> contents) {
    if (const int error = writeAll(file_.get(), contents); error != 0) {
      return error;
    }
    const int flushed =
        uninterrupted([&] { return FileSystemCalls::current().fdatasync(file_.get()); });
    return flushed == 0 ? file_.close() : errno;
  }

  int takeName() {
    const int renamed =
        FileSystemCalls::current().renameat2(AT_FDCWD, name_.c_str(), AT_FDCWD, path_.c_str(), 0);
    isUnfinished_ = renamed != 0;
    return renamed == 0 ? 0 : errno;
  }

 private:
  const std::string& path_;
  std::string name_;
  FileDescriptor file_;
  bool isUnfinished_ = false;
};

}  // namespace

int writeAll(int file, std::span<const std::byte> contents) {
  while (!contents.empty()) {
    const auto written =
        uninterrupted([&] { return write(file, contents.data(), contents.size()); });
    if (written < 0) {
      return errno;
    }
    contents = contents.subspan(static_cast<std::size_t>(written));
  }
  return 0;
}

int readWholeFile(const std::string& path, NSMutableData& contents) {
  const FileDescriptor file = openFile(path, O_RDONLY);
  return file ? readWholeFile(file.get(), contents) : errno;
}

int readWholeFile(int file, NSMutableData& contents) {
  const NSUInteger start = contents.length();
  for (;;) {
    const NSUInteger end = contents.length();
    const NSUInteger piece = nextPiece(file, end - start);
    std::byte* buffer = contents.extend(piece);
    const auto count = uninterrupted([&] { return read(file, buffer, piece); });
    const int error = count < 0 ? errno : 0;
    contents.setLength(end + static_cast<NSUInteger>(std::max<ssize_t>(count, 0)));
    if (count <= 0) {
      return error;
    }
  }
}

int writeWholeFile(const std::string& path, std::span<const std::byte> contents) {
  FileDescriptor file = openFile(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
  return file ? writeAndClose(file, contents) : errno;
}

int createWholeFile(const std::string& path, std::span<const std::byte> contents) {
  FileDescriptor file = openFile(path, O_WRONLY | O_CREAT | O_EXCL, 0666);
  if (!file) {
    return errno;
  }
  const int error = writeAndClose(file, contents);
  if (error != 0) {
    unlink(path.c_str());
  }
  return error;
}

int replaceWholeFile(const std::string& path, std::span<const std::byte> contents) {
  std::string target = path;
  std::optional<struct stat> old;
  int error = resolve(target);
  error = error == 0 ? look(target, old) : error;
  if (error != 0) {
    return error;
  }
  if (old && !S_ISREG(old->st_mode)) {
    return writeWholeFile(target, contents);
  }
  Replacement replacement(target);
  error = replacement.create(old);
  error = error == 0 ? replacement.fill(contents) : error;
  return error == 0 ? replacement.takeName() : error;
}

}  // namespace kestova
