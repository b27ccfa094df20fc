// SPDX-License-Identifier: Apache-2.0
#include "files/TreeCopier.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <memory>
#include <string>

#include "files/FileContent.h"
#include "files/FileMetadata.h"
#include "files/FileSystemCalls.h"
#include "files/SourceOpening.h"
#include "files/TreeWalk.h"

namespace kestova {
namespace {

constexpr mode_t kModeBits = 07777;
constexpr mode_t kUnknownMode = ~static_cast<mode_t>(0);

/// In memory there is nothing to lay out, and reserving only touches every page once more.
bool gainsByPreallocating(int folder) {
  struct statfs volume {};
  return ::fstatfs(folder, &volume) == 0 && volume.f_type != TMPFS_MAGIC;
}

/// The extra links must not meet the item itself.
std::string nameForLinks(const std::string& item) { return item == "links" ? "links-" : "links"; }

FileDescriptor duplicateLocation(int folder) {
  return FileDescriptor(openExisting(folder, ".", O_PATH | O_DIRECTORY | O_CLOEXEC));
}

}  // namespace

/// Where one entry comes from and goes to.
struct TreeCopier::Place {
  int sourceFolder;
  const char* sourceName;
  int targetFolder;
  const char* targetName;
  const WalkFolder* folder;  ///< Null for the source itself.

  FileItem source() const { return {-1, sourceFolder, sourceName}; }
  FileItem target() const { return {-1, targetFolder, targetName}; }
};

/// What one thread does: it copies entries, each from opening it to closing its finished copy.
class TreeCopier::Worker : public TreeVisitor {
 public:
  Worker(TreeCopier& copier, TreeWalk& walk)
      : copier_(copier),
        walk_(walk),
        control_(copier.control_),
        exactModes_(FileSystemCalls::current().clearOwnUmask() == 0),
        content_(copier.preallocates_) {}

  std::shared_ptr<const OpenFolder> enter(WalkFolder& folder, const OpenFolder& parent) override;
  std::shared_ptr<const OpenFolder> reopen(const WalkFolder& folder,
                                           const OpenFolder& parent) override;
  void visit(WalkFolder& folder, const OpenFolder& open, const WalkEntry& entry) override;
  void leave(WalkFolder& folder, const OpenFolder& open, const OpenFolder& parent) override;

  /// Copies a source that is no folder.
  void copyTop(const OpenFolder& base);

 private:
  const char* targetName(const WalkFolder& folder) const;
  void copyEntry(const Place& place, const struct stat& facts);
  void copyFile(const Place& place);
  int copyRegular(int source, const Place& place, const struct stat& facts);
  int copyUnopened(const Place& place, const struct stat& facts);
  int makeUnopened(const Place& place, const struct stat& facts);
  template <typename Make>
  int linkOrMake(const Place& place, const struct stat& facts, Make make);
  void finish(const Place& place, int error);
  bool leavesOut(int error) const;
  int keepRenamable(const WalkFolder& folder, const OpenFolder& open);
  std::string pathOf(const Place& place) const;
  CreatedFacts createdFacts(mode_t mode) const;

  TreeCopier& copier_;
  TreeWalk& walk_;
  TransferControl& control_;
  const bool exactModes_;
  FileContent content_;
  FileMetadata metadata_;
};

std::shared_ptr<const OpenFolder> TreeCopier::Worker::enter(WalkFolder& folder,
                                                            const OpenFolder& parent) {
  OpenFolder open{openSourceFolder(parent.source.get(), folder.name.c_str()), {}};
  if (!open.source && folder.parent && leavesOut(errno)) return nullptr;
  if (open.source && ::fstat(open.source.get(), &folder.facts) == 0) {
    const mode_t mode = (folder.facts.st_mode & 0777) | S_IRWXU;
    if (::mkdirat(parent.target.get(), targetName(folder), mode) == 0) {
      auto opened = reopen(folder, parent);
      if (opened) return opened;
    }
  }
  control_.fail(errno, walk_.pathOf(folder));
  return nullptr;
}

std::shared_ptr<const OpenFolder> TreeCopier::Worker::reopen(const WalkFolder& folder,
                                                             const OpenFolder& parent) {
  OpenFolder open{openSourceFolder(parent.source.get(), folder.name.c_str()),
                  openSourceFolder(parent.target.get(), targetName(folder))};
  if (!open.source || !open.target) return nullptr;
  return std::make_shared<OpenFolder>(std::move(open));
}

void TreeCopier::Worker::visit(WalkFolder& folder, const OpenFolder& open, const WalkEntry& entry) {
  if (entry.type == DT_DIR) return walk_.descend(folder, entry.name);
  const Place place{open.source.get(), entry.name, open.target.get(), entry.name, &folder};
  if (entry.type == DT_REG) return copyFile(place);
  struct stat facts {};
  if (::fstatat(open.source.get(), entry.name, &facts, AT_SYMLINK_NOFOLLOW) != 0) {
    return finish(place, errno);
  }
  if (S_ISDIR(facts.st_mode)) return walk_.descend(folder, entry.name);
  copyEntry(place, facts);
}

void TreeCopier::Worker::leave(WalkFolder& folder, const OpenFolder& open, const OpenFolder&) {
  struct stat made {};
  int error = ::fstat(open.target.get(), &made) == 0 ? 0 : errno;
  if (error == 0) {
    const CreatedFacts created{made.st_uid, made.st_gid, made.st_mode & kModeBits};
    error = metadata_.copy({open.source.get()}, {open.target.get()}, folder.facts, created);
  }
  if (error == 0 && !folder.parent) error = keepRenamable(folder, open);
  if (error != 0) return control_.fail(error, walk_.pathOf(folder));
  control_.progress().addObject(isUserVisible(folder.name.c_str()));
  control_.report([&] { return walk_.pathOf(folder); });
}

// Renaming a folder into another one changes its "..", for which an ordinary user needs its write
// bit. 0 or the error number.
int TreeCopier::Worker::keepRenamable(const WalkFolder& folder, const OpenFolder& open) {
  struct stat made {};
  if (::geteuid() == 0 || (folder.facts.st_mode & S_IWUSR) != 0) return 0;
  if (::fstat(open.target.get(), &made) != 0) return errno;
  copier_.modeAfterwards_ = made.st_mode & kModeBits;
  const mode_t renamable = (made.st_mode & kModeBits) | S_IRWXU;
  return ::fchmod(open.target.get(), renamable) == 0 ? 0 : errno;
}

void TreeCopier::Worker::copyTop(const OpenFolder& base) {
  const TransferEndpoints& ends = copier_.ends_;
  copyEntry(
      {base.source.get(), ends.sourceName.c_str(), base.target.get(), ends.name.c_str(), nullptr},
      ends.source);
}

const char* TreeCopier::Worker::targetName(const WalkFolder& folder) const {
  return folder.parent ? folder.name.c_str() : copier_.ends_.name.c_str();
}

void TreeCopier::Worker::copyEntry(const Place& place, const struct stat& facts) {
  if (S_ISREG(facts.st_mode)) return copyFile(place);
  finish(place, linkOrMake(place, facts, [&] { return copyUnopened(place, facts); }));
}

void TreeCopier::Worker::copyFile(const Place& place) {
  const FileDescriptor source = openSourceFile(place.sourceFolder, place.sourceName);
  struct stat facts {};
  if (!source || ::fstat(source.get(), &facts) != 0) {
    if (place.folder && leavesOut(errno)) return;
    return finish(place, errno);
  }
  // What was listed as a file has become something else: the file is gone.
  if (!S_ISREG(facts.st_mode)) return finish(place, ENOENT);
  finish(place, linkOrMake(place, facts, [&] { return copyRegular(source.get(), place, facts); }));
}

int TreeCopier::Worker::copyRegular(int source, const Place& place, const struct stat& facts) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  const mode_t mode = metadata_.modeForCreation(facts);
  FileDescriptor target(uninterrupted([&] {
    return FileSystemCalls::current().openat(place.targetFolder, place.targetName, kFlags, mode);
  }));
  if (!target) return errno;
  const FileContent::Observer observer = [this, &place](std::uint64_t bytes) {
    control_.progress().addBytes(bytes);
    control_.report([&] { return pathOf(place); });
    return !control_.stopped();
  };
  if (const int error = content_.copy(source, target.get(), facts, observer)) return error;
  const int error = metadata_.copy({source}, {target.get()}, facts, createdFacts(mode));
  return error != 0 ? error : target.close();
}

/// An object that is made by its name alone, as it has no content to open.
int TreeCopier::Worker::copyUnopened(const Place& place, const struct stat& facts) {
  if (const int error = makeUnopened(place, facts)) return error;
  return metadata_.copy(place.source(), place.target(), facts, createdFacts(facts.st_mode & 0777));
}

int TreeCopier::Worker::makeUnopened(const Place& place, const struct stat& facts) {
  if (!S_ISLNK(facts.st_mode)) {
    const mode_t mode = facts.st_mode & (S_IFMT | 0777);
    return ::mknodat(place.targetFolder, place.targetName, mode, facts.st_rdev) == 0 ? 0 : errno;
  }
  std::array<char, PATH_MAX + 1> text{};
  const ssize_t size =
      ::readlinkat(place.sourceFolder, place.sourceName, text.data(), text.size() - 1);
  if (size < 0) return errno;
  return ::symlinkat(text.data(), place.targetFolder, place.targetName) == 0 ? 0 : errno;
}

template <typename Make>
int TreeCopier::Worker::linkOrMake(const Place& place, const struct stat& facts, Make make) {
  if (facts.st_nlink <= 1) return make();
  HardLinkTable& links = copier_.links_;
  switch (links.link(facts, place.targetFolder, place.targetName)) {
    case HardLinkTable::Answer::linked:
      return 0;
    case HardLinkTable::Answer::alone:
      return make();
    case HardLinkTable::Answer::first:
      break;
  }
  try {
    const int error = make();
    if (error == 0) {
      links.publish(facts, place.targetFolder, place.targetName);
    } else {
      links.abandon(facts);
    }
    return error;
  } catch (...) {
    // The other threads may be waiting for this copy.
    links.abandon(facts);
    throw;
  }
}

void TreeCopier::Worker::finish(const Place& place, int error) {
  if (error != 0) return control_.fail(error, pathOf(place));
  control_.progress().addObject(isUserVisible(place.sourceName));
  control_.report([&] { return pathOf(place); });
}

bool TreeCopier::Worker::leavesOut(int error) const {
  return copier_.skipsUnreadable_ && isPermissionError(error);
}

std::string TreeCopier::Worker::pathOf(const Place& place) const {
  return place.folder ? walk_.pathOf(*place.folder, place.sourceName) : copier_.ends_.sourcePath;
}

CreatedFacts TreeCopier::Worker::createdFacts(mode_t mode) const {
  const struct stat& staging = copier_.staging_.facts();
  return {staging.st_uid, staging.st_gid, exactModes_ ? mode : kUnknownMode};
}

TreeCopier::TreeCopier(TransferControl& control, const TransferEndpoints& endpoints,
                       const StagingArea& staging, bool skipsUnreadable)
    : control_(control),
      ends_(endpoints),
      staging_(staging),
      skipsUnreadable_(skipsUnreadable),
      preallocates_(gainsByPreallocating(staging.folder())),
      links_(staging.folder(), nameForLinks(endpoints.name)) {}

void TreeCopier::run() {
  const OpenFolder base{duplicateLocation(ends_.sourceFolder.get()),
                        duplicateLocation(staging_.folder())};
  if (!base.source || !base.target) return control_.fail(errno, ends_.sourcePath);
  TreeWalk walk(control_, base, ends_.sourcePath);
  if (!S_ISDIR(ends_.source.st_mode)) return Worker(*this, walk).copyTop(base);
  walk.run(ends_.sourceName,
           [this](TreeWalk& each) { return std::make_unique<Worker>(*this, each); });
}

}  // namespace kestova
