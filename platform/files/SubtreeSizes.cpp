// SPDX-License-Identifier: Apache-2.0
#include "files/SubtreeSizes.h"
#include "files/FileSystemCalls.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <memory>
#include <mutex>

#include "files/CatalogListing.h"
#include "files/TreeWalk.h"

namespace kestova {
namespace {

constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// What the threads of one walk have found together.
class Findings {
 public:
  void add(const FSCatalogInfo& sums, int error) {
    const std::lock_guard lock(mutex_);
    sums_.dataLogicalSize += sums.dataLogicalSize;
    sums_.dataPhysicalSize += sums.dataPhysicalSize;
    error_ = error_ == 0 ? error : error_;
  }

  /// Once the threads have ended.
  const FSCatalogInfo& sums() const { return sums_; }
  int error() const { return error_; }

 private:
  std::mutex mutex_;
  FSCatalogInfo sums_;
  int error_ = 0;
};

/// One thread's visitor, which hands in what it has found when it goes.
class SizeVisitor : public TreeVisitor {
 public:
  SizeVisitor(TreeWalk& walk, Findings& findings) : walk_(walk), findings_(findings) {}
  SizeVisitor(const SizeVisitor&) = delete;
  SizeVisitor& operator=(const SizeVisitor&) = delete;
  ~SizeVisitor() override { findings_.add(sums_, error_); }

  std::shared_ptr<const OpenFolder> enter(WalkFolder& folder, const OpenFolder& parent) override {
    auto open = reopen(folder, parent);
    if (!open || ::fstat(open->source.get(), &folder.facts) != 0) {
      goesOnAfter(errno);
      return nullptr;
    }
    return open;
  }

  std::shared_ptr<const OpenFolder> reopen(const WalkFolder& folder,
                                           const OpenFolder& parent) override {
    FileDescriptor source(openExisting(parent.source.get(), folder.name.c_str(), kOpenFolder));
    return source ? std::make_shared<OpenFolder>(OpenFolder{std::move(source), {}}) : nullptr;
  }

  void visit(WalkFolder& folder, const OpenFolder& open, const WalkEntry& entry) override {
    FSCatalogInfo info;
    if (entry.type == DT_DIR) {
      info.nodeFlags = kFSNodeIsDirectoryMask;
    } else if (const int error = readCatalogInfo(open.source.get(), entry.name, info)) {
      goesOnAfter(error);
    }
    if ((info.nodeFlags & kFSNodeIsDirectoryMask) != 0) {
      walk_.descend(folder, entry.name);
    }
    sums_.dataLogicalSize += info.dataLogicalSize;
    sums_.dataPhysicalSize += info.dataPhysicalSize;
  }

  void leave(WalkFolder&, const OpenFolder&, const OpenFolder&) override {}
  bool wantsToLeave() const override { return false; }

  bool goesOnAfter(int error) override {
    if (!hasVanished(error) && error_ == 0) {
      error_ = error;
    }
    return true;
  }

 private:
  TreeWalk& walk_;
  Findings& findings_;
  FSCatalogInfo sums_;
  int error_ = 0;
};

}  // namespace

int addUpSubtree(int folder, FSCatalogInfo& sums) {
  const OpenFolder base{FileDescriptor(::fcntl(folder, F_DUPFD_CLOEXEC, 0)), {}};
  if (!base.source) {
    return errno;
  }
  Findings findings;
  TransferControl control;
  TreeWalk(control, base, ".").run(".", [&](TreeWalk& walk) {
    return std::make_unique<SizeVisitor>(walk, findings);
  });
  sums = findings.sums();
  return control.error() != 0 ? control.error() : findings.error();
}

}  // namespace kestova
