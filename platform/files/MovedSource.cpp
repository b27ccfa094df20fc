// SPDX-License-Identifier: Apache-2.0
#include "files/MovedSource.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <memory>

#include "files/FileSystemCalls.h"
#include "files/ItemIdentity.h"
#include "files/SourceOpening.h"
#include "files/TreeWalk.h"

namespace kestova {
namespace {

constexpr int kLocateFolder = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// Some volumes keep times to two seconds.
bool isSameTime(const struct timespec& a, const struct timespec& b) {
  return std::llabs(static_cast<long long>(a.tv_sec) - b.tv_sec) <= 2;
}

bool isCopyOf(const struct stat& copy, const struct stat& source) {
  if ((copy.st_mode & S_IFMT) != (source.st_mode & S_IFMT)) return false;
  if (!S_ISREG(source.st_mode)) return true;
  return copy.st_size == source.st_size && isSameTime(copy.st_mtim, source.st_mtim);
}

class Remover : public TreeVisitor {
 public:
  Remover(TreeWalk& walk, const TransferEndpoints& ends, bool skipsUnreadable,
          std::atomic<bool>& keptUnreadable)
      : walk_(walk),
        ends_(ends),
        skipsUnreadable_(skipsUnreadable),
        keptUnreadable_(keptUnreadable) {}

  std::shared_ptr<const OpenFolder> enter(WalkFolder& folder, const OpenFolder& parent) override {
    auto open = reopen(folder, parent);
    if (open && ::fstat(open->source.get(), &folder.facts) == 0) return open;
    if (folder.parent && skipsUnreadable_ && isPermissionError(errno)) {
      keptUnreadable_ = true;
    } else {
      fail(walk_.pathOf(folder), errno == ENOENT ? EBUSY : errno);
    }
    return nullptr;
  }

  std::shared_ptr<const OpenFolder> reopen(const WalkFolder& folder,
                                           const OpenFolder& parent) override {
    const std::string& targetName = folder.parent ? folder.name : ends_.name;
    OpenFolder open{openSourceFolder(parent.source.get(), folder.name.c_str()), {}};
    if (!open.source) return nullptr;
    open.target =
        FileDescriptor(openExisting(parent.target.get(), targetName.c_str(), kLocateFolder));
    return open.target ? std::make_shared<OpenFolder>(std::move(open)) : nullptr;
  }

  void visit(WalkFolder& folder, const OpenFolder& open, const WalkEntry& entry) override {
    struct stat facts {};
    const int found = ::fstatat(open.source.get(), entry.name, &facts, AT_SYMLINK_NOFOLLOW);
    if (found != 0 && errno == ENOENT) return;
    if (found == 0 && S_ISDIR(facts.st_mode)) return walk_.descend(folder, entry.name);
    const int error = found == 0 ? removeEntry(open, entry.name, entry.name, facts) : errno;
    if (error != 0) fail(walk_.pathOf(folder, entry.name), error);
  }

  void leave(WalkFolder& folder, const OpenFolder&, const OpenFolder& parent) override {
    if (unlinkEntry(parent, folder.name.c_str(), AT_REMOVEDIR)) return;
    if (errno != ENOTEMPTY && errno != EEXIST) return fail(walk_.pathOf(folder), errno);
    if (!keptUnreadable_) fail(walk_.pathOf(folder), EBUSY);
  }

  int removeEntry(const OpenFolder& open, const char* name, const char* targetName,
                  const struct stat& facts) {
    struct stat copy {};
    const int found = ::fstatat(open.target.get(), targetName, &copy, AT_SYMLINK_NOFOLLOW);
    if (found != 0 && errno != ENOENT) return errno;
    if (found == 0 && isCopyOf(copy, facts)) return unlinkEntry(open, name, 0) ? 0 : errno;
    if (!skipsUnreadable_ || !isUnreadable(open.source.get(), name)) return EBUSY;
    keptUnreadable_ = true;
    return 0;
  }

  void fail(std::string item, int error) { walk_.control().fail(error, std::move(item)); }

 private:
  static bool unlinkEntry(const OpenFolder& open, const char* name, int flags) {
    return FileSystemCalls::current().unlinkat(open.source.get(), name, flags) == 0;
  }

  TreeWalk& walk_;
  const TransferEndpoints& ends_;
  const bool skipsUnreadable_;
  std::atomic<bool>& keptUnreadable_;
};

}  // namespace

void removeMovedSource(TransferControl& control, const TransferEndpoints& ends,
                       bool skipsUnreadable) {
  struct stat facts {};
  const char* name = ends.sourceName.c_str();
  if (::fstatat(ends.sourceFolder.get(), name, &facts, AT_SYMLINK_NOFOLLOW) != 0) {
    return control.fail(errno, ends.sourcePath);
  }
  if (!isSameItem(facts, ends.source)) return control.fail(EBUSY, ends.sourcePath);
  const OpenFolder base{FileDescriptor(openExisting(ends.sourceFolder.get(), ".", kLocateFolder)),
                        FileDescriptor(openExisting(ends.destination.get(), ".", kLocateFolder))};
  if (!base.source || !base.target) return control.fail(errno, ends.sourcePath);
  TreeWalk walk(control, base, ends.sourcePath);
  std::atomic<bool> keptUnreadable = false;
  const auto makeRemover = [&](TreeWalk& each) {
    return std::make_unique<Remover>(each, ends, skipsUnreadable, keptUnreadable);
  };
  if (S_ISDIR(facts.st_mode)) return walk.run(ends.sourceName, makeRemover);
  const int error = makeRemover(walk)->removeEntry(base, name, ends.name.c_str(), facts);
  if (error != 0) control.fail(error, ends.sourcePath);
}

}  // namespace kestova
