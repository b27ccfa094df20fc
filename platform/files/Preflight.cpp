// SPDX-License-Identifier: Apache-2.0
#include "files/Preflight.h"
#include "files/FileSystemCalls.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <memory>
#include <mutex>
#include <set>
#include <utility>

#include "files/SourceOpening.h"
#include "files/TreeWalk.h"

namespace kestova {
namespace {

constexpr long kXfsMagic = 0x58465342;
constexpr std::uint64_t kStatBlock = 512;

/// What the copy will take up.
class Demand {
 public:
  std::uint64_t bytes() const { return bytes_; }
  std::uint64_t objects() const { return objects_; }

  void addObject() { ++objects_; }
  /// Counts a regular file and answers the bytes that will be copied: none for a further link.
  std::uint64_t addFile(const struct stat& facts) {
    addObject();
    if (facts.st_nlink > 1 && !isFirstLink(facts)) return 0;
    const auto size = static_cast<std::uint64_t>(facts.st_size);
    bytes_ += std::min(size, static_cast<std::uint64_t>(facts.st_blocks) * kStatBlock);
    return size;
  }

 private:
  bool isFirstLink(const struct stat& facts) {
    const std::lock_guard lock(mutex_);
    return linked_.emplace(facts.st_dev, facts.st_ino).second;
  }

  std::atomic<std::uint64_t> bytes_ = 0;
  std::atomic<std::uint64_t> objects_ = 0;
  std::mutex mutex_;
  std::set<std::pair<dev_t, ino_t>> linked_;  // guarded by mutex_
};

class Counter : public TreeVisitor {
 public:
  Counter(TreeWalk& walk, Demand& demand, bool skipsUnreadable)
      : walk_(walk), demand_(demand), skipsUnreadable_(skipsUnreadable) {}

  std::shared_ptr<const OpenFolder> enter(WalkFolder& folder, const OpenFolder& parent) override {
    auto open = reopen(folder, parent);
    if (!open || ::fstat(open->source.get(), &folder.facts) != 0) {
      const bool leftOut = folder.parent && skipsUnreadable_ && isPermissionError(errno);
      const bool vanished = folder.parent && errno == ENOENT;
      if (!leftOut && !vanished) walk_.control().fail(errno, walk_.pathOf(folder));
      return nullptr;
    }
    demand_.addObject();
    walk_.control().progress().expect(0, isUserVisible(folder.name.c_str()));
    walk_.control().report([&] { return walk_.pathOf(folder); });
    return open;
  }

  std::shared_ptr<const OpenFolder> reopen(const WalkFolder& folder,
                                           const OpenFolder& parent) override {
    FileDescriptor source = openSourceFolder(parent.source.get(), folder.name.c_str());
    if (!source) return nullptr;
    return std::make_shared<OpenFolder>(OpenFolder{std::move(source), {}});
  }

  void visit(WalkFolder& folder, const OpenFolder& open, const WalkEntry& entry) override {
    if (entry.type == DT_DIR) return walk_.descend(folder, entry.name);
    if (entry.type != DT_REG && entry.type != DT_UNKNOWN) return countOther(entry.name);
    struct stat facts {};
    // What has vanished by now will not be copied.
    if (::fstatat(open.source.get(), entry.name, &facts, AT_SYMLINK_NOFOLLOW) != 0) return;
    if (S_ISDIR(facts.st_mode)) return walk_.descend(folder, entry.name);
    if (!S_ISREG(facts.st_mode)) return countOther(entry.name);
    if (!isLeftOut(open, entry.name)) countFile(entry.name, facts);
  }

  void leave(WalkFolder&, const OpenFolder&, const OpenFolder&) override {}

  void countFile(const char* name, const struct stat& facts) {
    walk_.control().progress().expect(demand_.addFile(facts), isUserVisible(name));
  }

  void countOther(const char* name) {
    demand_.addObject();
    walk_.control().progress().expect(0, isUserVisible(name));
  }

 private:
  bool isLeftOut(const OpenFolder& open, const char* name) const {
    return skipsUnreadable_ && isUnreadable(open.source.get(), name);
  }

  TreeWalk& walk_;
  Demand& demand_;
  const bool skipsUnreadable_;
};

void countSource(TransferControl& control, const TransferEndpoints& ends, Demand& demand,
                 bool skipsUnreadable) {
  const OpenFolder base{
      FileDescriptor(openExisting(ends.sourceFolder.get(), ".", O_PATH | O_CLOEXEC)), {}};
  if (!base.source) return control.fail(errno, ends.sourcePath);
  TreeWalk walk(control, base, ends.sourcePath);
  const auto makeCounter = [&](TreeWalk& each) {
    return std::make_unique<Counter>(each, demand, skipsUnreadable);
  };
  if (S_ISDIR(ends.source.st_mode)) return walk.run(ends.sourceName, makeCounter);
  if (S_ISREG(ends.source.st_mode)) {
    makeCounter(walk)->countFile(ends.sourceName.c_str(), ends.source);
  } else {
    makeCounter(walk)->countOther(ends.sourceName.c_str());
  }
}

/// Whether a copy within volumes of this kind may share its blocks and take up nothing.
bool sharesBlocks(const struct statfs& volume) {
  return volume.f_type == BTRFS_SUPER_MAGIC || volume.f_type == kXfsMagic;
}

// A volume that does not know its size or its number of files reports zero.
int checkRoom(const TransferEndpoints& ends, const Demand& demand) {
  struct statfs to {};
  struct statfs from {};
  if (::fstatfs(ends.destination.get(), &to) != 0) return errno;
  if ((to.f_flags & ST_RDONLY) != 0) return EROFS;
  if (::fstatfs(ends.sourceFolder.get(), &from) != 0) return errno;
  if (from.f_type == to.f_type && sharesBlocks(to)) return 0;
  const auto free = static_cast<std::uint64_t>(::geteuid() == 0 ? to.f_bfree : to.f_bavail);
  if (to.f_blocks > 0 && demand.bytes() / static_cast<std::uint64_t>(to.f_bsize) > free)
    return ENOSPC;
  return to.f_files > 0 && demand.objects() > to.f_ffree ? ENOSPC : 0;
}

}  // namespace

void preflightCopy(TransferControl& control, const TransferEndpoints& endpoints,
                   bool skipsUnreadable) {
  Demand demand;
  countSource(control, endpoints, demand, skipsUnreadable);
  if (control.stopped()) return;
  if (const int error = checkRoom(endpoints, demand)) control.fail(error, endpoints.sourcePath);
}

}  // namespace kestova
