// SPDX-License-Identifier: Apache-2.0
#include "files/TreeRemover.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <memory>

#include "files/FileSystemCalls.h"
#include "files/TreeWalk.h"

namespace kestova {
namespace {

constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

bool unlinkEntry(int folder, const char* name, int flags) {
  return FileSystemCalls::current().unlinkat(folder, name, flags) == 0;
}

/// Why something stays: the first reason that anything gave. A folder that isn't empty is none, for
/// what it holds has stayed for a reason of its own; nor is something that is gone already.
class Obstacle {
 public:
  int error() const { return error_; }

  void note(int error) {
    int none = 0;
    if (error != ENOENT && !isNotEmpty(error)) error_.compare_exchange_strong(none, error);
  }

  static bool isNotEmpty(int error) { return error == ENOTEMPTY || error == EEXIST; }

 private:
  std::atomic<int> error_ = 0;
};

class Remover : public TreeVisitor {
 public:
  Remover(TreeWalk& walk, Obstacle& obstacle) : walk_(walk), obstacle_(obstacle) {}

  std::shared_ptr<const OpenFolder> enter(WalkFolder& folder, const OpenFolder& parent) override {
    FileDescriptor source = openUnlocked(parent.source.get(), folder.name.c_str());
    if (!source || ::fstat(source.get(), &folder.facts) != 0) return leaveOut(errno);
    if (folder.parent && folder.parent->facts.st_dev != folder.facts.st_dev) return leaveOut(EBUSY);
    if ((folder.facts.st_mode & S_IRWXU) != S_IRWXU) ::fchmod(source.get(), S_IRWXU);
    return std::make_shared<OpenFolder>(OpenFolder{std::move(source), {}});
  }

  std::shared_ptr<const OpenFolder> reopen(const WalkFolder& folder,
                                           const OpenFolder& parent) override {
    FileDescriptor source(openExisting(parent.source.get(), folder.name.c_str(), kOpenFolder));
    if (!source) return nullptr;
    return std::make_shared<OpenFolder>(OpenFolder{std::move(source), {}});
  }

  void visit(WalkFolder& folder, const OpenFolder& open, const WalkEntry& entry) override {
    if (entry.type == DT_DIR) return walk_.descend(folder, entry.name);
    if (unlinkEntry(open.source.get(), entry.name, 0)) return;
    if (errno == EISDIR) return walk_.descend(folder, entry.name);
    obstacle_.note(errno);
  }

  void leave(WalkFolder& folder, const OpenFolder&, const OpenFolder& parent) override {
    if (!unlinkEntry(parent.source.get(), folder.name.c_str(), AT_REMOVEDIR)) obstacle_.note(errno);
  }

  bool goesOnAfter(int error) override {
    obstacle_.note(error);
    return true;
  }

 private:
  static FileDescriptor openUnlocked(int parent, const char* name) {
    FileDescriptor source(openExisting(parent, name, kOpenFolder));
    if (source || errno != EACCES) return source;
    if (::fchmodat(parent, name, S_IRWXU, 0) != 0) return source;
    return FileDescriptor(openExisting(parent, name, kOpenFolder));
  }

  std::shared_ptr<const OpenFolder> leaveOut(int error) {
    obstacle_.note(error);
    return nullptr;
  }

  TreeWalk& walk_;
  Obstacle& obstacle_;
};

/// 0 when nothing has the name, or why that can't be told or something still has it.
int reasonToStay(int folder, const std::string& name, int reason) {
  struct stat facts {};
  if (::fstatat(folder, name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno == ENOENT ? 0 : errno;
  }
  return reason != 0 ? reason : ENOTEMPTY;
}

}  // namespace

int removeTree(int folder, const std::string& name) {
  if (unlinkEntry(folder, name.c_str(), AT_REMOVEDIR)) return 0;
  if (errno == ENOTDIR) return unlinkEntry(folder, name.c_str(), 0) ? 0 : errno;
  if (!Obstacle::isNotEmpty(errno)) return errno;
  const OpenFolder base{FileDescriptor(openExisting(folder, ".", kOpenFolder | O_PATH)), {}};
  if (!base.source) return errno;
  Obstacle obstacle;
  TransferControl control;
  TreeWalk(control, base, name).run(name, [&](TreeWalk& walk) {
    return std::make_unique<Remover>(walk, obstacle);
  });
  obstacle.note(control.error());
  return reasonToStay(folder, name, obstacle.error());
}

}  // namespace kestova
