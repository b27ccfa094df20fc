// SPDX-License-Identifier: Apache-2.0
#include "files/TreeRemover.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

class Remover : public TreeVisitor {
 public:
  explicit Remover(TreeWalk& walk) : walk_(walk) {}

  std::shared_ptr<const OpenFolder> enter(WalkFolder& folder, const OpenFolder& parent) override {
    const char* name = folder.name.c_str();
    int number = openExisting(parent.source.get(), name, kOpenFolder);
    if (number < 0 && errno == EACCES && ::fchmodat(parent.source.get(), name, S_IRWXU, 0) == 0) {
      number = openExisting(parent.source.get(), name, kOpenFolder);
    }
    FileDescriptor source(number);
    if (!source || ::fstat(source.get(), &folder.facts) != 0) return nullptr;
    if (folder.parent && folder.parent->facts.st_dev != folder.facts.st_dev) return nullptr;
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
    if (entry.type != DT_DIR && unlinkEntry(open.source.get(), entry.name, 0)) return;
    if (entry.type == DT_DIR || errno == EISDIR) walk_.descend(folder, entry.name);
  }

  void leave(WalkFolder& folder, const OpenFolder&, const OpenFolder& parent) override {
    unlinkEntry(parent.source.get(), folder.name.c_str(), AT_REMOVEDIR);
  }

 private:
  TreeWalk& walk_;
};

}  // namespace

int removeTree(int folder, const std::string& name) {
  if (unlinkEntry(folder, name.c_str(), AT_REMOVEDIR)) return 0;
  if (errno == ENOTDIR) return unlinkEntry(folder, name.c_str(), 0) ? 0 : errno;
  if (errno != ENOTEMPTY && errno != EEXIST) return errno;
  const OpenFolder base{FileDescriptor(openExisting(folder, ".", kOpenFolder | O_PATH)), {}};
  if (!base.source) return errno;
  TransferControl control;
  TreeWalk(control, base, name).run(name, [](TreeWalk& walk) {
    return std::make_unique<Remover>(walk);
  });
  struct stat facts {};
  const bool remains = ::fstatat(folder, name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) == 0;
  return remains ? ENOTEMPTY : 0;
}

}  // namespace kestova
