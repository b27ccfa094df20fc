// SPDX-License-Identifier: Apache-2.0
#include "files/TransferRun.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

#include "files/FileSystemCalls.h"
#include "files/ItemIdentity.h"
#include "files/ItemRenaming.h"
#include "files/MovedSource.h"
#include "files/Preflight.h"
#include "files/TreeCopier.h"
#include "files/TreeRemover.h"

namespace kestova {
namespace {

/// 0 with the answer, or the error number that keeps it from being known.
int compareFolders(int a, int b, bool& areSame) {
  struct stat first {};
  struct stat second {};
  if (::fstat(a, &first) != 0 || ::fstat(b, &second) != 0) return errno;
  areSame = isSameItem(first, second);
  return 0;
}

/// Makes durable what `folder`'s entry `name` holds: a file alone, anything else with its volume.
int flushItem(int folder, const std::string& name, bool isFile) {
  FileSystemCalls& calls = FileSystemCalls::current();
  constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  const FileDescriptor file(isFile ? openExisting(folder, name.c_str(), kFlags) : -1);
  if (file) return uninterrupted([&] { return calls.fdatasync(file.get()); }) == 0 ? 0 : errno;
  const FileDescriptor volume(openExisting(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  // A folder that may be written to but not read cannot be asked to flush; the system does it in
  // time.
  if (!volume) return 0;
  return uninterrupted([&] { return calls.syncfs(volume.get()); }) == 0 ? 0 : errno;
}

/// Makes the entries of a folder durable.
int flushEntries(int folder) {
  const FileDescriptor readable(openExisting(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!readable) return 0;
  FileSystemCalls& calls = FileSystemCalls::current();
  return uninterrupted([&] { return calls.fdatasync(readable.get()); }) == 0 ? 0 : errno;
}

}  // namespace

TransferOutcome TransferRun::run() {
  control_.progress().begin(std::chrono::steady_clock::now());
  TransferOutcome outcome = begin();
  if (outcome.error == 0) control_.progress().settle(std::chrono::steady_clock::now());
  return outcome;
}

TransferOutcome TransferRun::begin() {
  const bool preflights = !request_.has(kTransferSkipPreflight);
  enterStage_(preflights ? TransferStage::preflighting : TransferStage::running);
  struct stat existing {};
  const int found = ends_.findExisting(existing);
  if (found != 0 && found != ENOENT) return outcome(found);
  if (found == 0) {
    if (moves() && isAlreadyThere(existing)) return {};
    if (!overwrites()) return outcome(EEXIST);
  }
  if (moves()) {
    const int error = control_.stopped() ? ECANCELED : moveByRenaming();
    if (error != EXDEV || request_.has(kTransferDoNotMoveAcrossVolumes)) return outcome(error);
  }
  if (preflights) {
    if (TransferOutcome found = preflight(); found.error != 0) return found;
    enterStage_(TransferStage::running);
  }
  return copy();
}

TransferOutcome TransferRun::outcome(int error) const {
  return {error, error != 0 ? ends_.sourcePath : std::string()};
}

TransferOutcome TransferRun::failure() const { return {control_.error(), control_.failedItem()}; }

bool TransferRun::isAlreadyThere(const struct stat& existing) const {
  bool isOneFolder = false;
  return isSameItem(existing, ends_.source) && ends_.name == ends_.sourceName &&
         compareFolders(ends_.sourceFolder.get(), ends_.destination.get(), isOneFolder) == 0 &&
         isOneFolder;
}

int TransferRun::moveByRenaming() {
  const FolderEntry from{ends_.sourceFolder.get(), ends_.sourceName};
  int error = renameToNew(from, {ends_.destination.get(), ends_.name});
  if (error == EEXIST && overwrites()) error = replaceByRenaming();
  if (error != 0) return error;
  const auto size =
      S_ISREG(ends_.source.st_mode) ? static_cast<std::uint64_t>(ends_.source.st_size) : 0;
  control_.progress().addBytes(size);
  control_.progress().addObject(isUserVisible(ends_.sourceName.c_str()));
  return 0;
}

int TransferRun::replaceByRenaming() {
  const FolderEntry from{ends_.sourceFolder.get(), ends_.sourceName};
  struct stat replaced {};
  if (const int error = ends_.findExisting(replaced); error != 0 && error != ENOENT) return error;
  if (isSameItem(replaced, ends_.source)) return dropFurtherLink();
  const bool isFile = S_ISREG(ends_.source.st_mode);
  if (const int error = flushItem(from.folder, from.name, isFile)) return error;
  if (const int error = renameReplacing(from, {ends_.destination.get(), ends_.name})) return error;
  const bool isAside = S_ISDIR(ends_.source.st_mode) || S_ISDIR(replaced.st_mode);
  return isAside ? discardReplaced() : 0;
}

// Both names are links to one file already. Within a folder they may even be one entry, where case
// does not tell names apart; only the system knows, whose rename leaves two true links alone.
int TransferRun::dropFurtherLink() {
  FileSystemCalls& calls = FileSystemCalls::current();
  const int from = ends_.sourceFolder.get();
  const char* name = ends_.sourceName.c_str();
  bool isOneFolder = false;
  if (const int error = compareFolders(from, ends_.destination.get(), isOneFolder)) return error;
  const int result = isOneFolder ? calls.renameat2(from, name, from, ends_.name.c_str(), 0)
                                 : calls.unlinkat(from, name, 0);
  return result == 0 ? 0 : errno;
}

// After the exchange what was replaced has the source's name. A staging area takes it away from
// there at once; without one it is removed where it is.
int TransferRun::discardReplaced() {
  StagingArea staging;
  const int from = ends_.sourceFolder.get();
  const std::string& name = ends_.sourceName;
  const bool taken = staging.create(ends_.destination.get()) == 0 &&
                     FileSystemCalls::current().renameat2(from, name.c_str(), staging.folder(),
                                                          name.c_str(), 0) == 0;
  return taken ? 0 : removeTree(from, name);
}

TransferOutcome TransferRun::preflight() {
  // A source that cannot be removed in the end is better known before it is copied.
  if (moves() && ::faccessat(ends_.sourceFolder.get(), ".", W_OK, AT_EACCESS) != 0) {
    return outcome(errno);
  }
  preflightCopy(control_, ends_, skipsUnreadable());
  return control_.stopped() ? failure() : TransferOutcome{};
}

TransferOutcome TransferRun::copy() {
  StagingArea::sweep(ends_.destination.get());
  StagingArea staging;
  if (const int error = staging.create(ends_.destination.get())) return outcome(error);
  TreeCopier copier(control_, ends_, staging, skipsUnreadable());
  copier.run();
  if (control_.stopped()) return failure();
  if (const int error = commit(staging)) return outcome(error);
  if (copier.modeAfterwards()) {
    if (const int error = setModeAfterwards(*copier.modeAfterwards())) return outcome(error);
  }
  return moves() ? removeSource() : TransferOutcome{};
}

int TransferRun::commit(StagingArea& staging) {
  if (moves()) {
    if (const int error = flush(staging)) return error;
  }
  if (control_.stopped()) return ECANCELED;
  const int error = staging.commit(ends_.name, ends_.name);
  if (error != EEXIST || !overwrites()) return error;
  if (!moves()) {
    if (const int flushed = flush(staging)) return flushed;
  }
  return control_.stopped() ? ECANCELED : staging.commitReplacing(ends_.name, ends_.name);
}

int TransferRun::flush(const StagingArea& staging) const {
  return flushItem(staging.folder(), ends_.name, S_ISREG(ends_.source.st_mode));
}

/// 0 or the error number.
int TransferRun::setModeAfterwards(mode_t mode) const {
  constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
  const FileDescriptor item(openExisting(ends_.destination.get(), ends_.name.c_str(), kFlags));
  return item && ::fchmod(item.get(), mode) == 0 ? 0 : errno;
}

// With a control of its own: half a source helps nobody, so cancelling comes too late here.
TransferOutcome TransferRun::removeSource() const {
  if (const int error = flushEntries(ends_.destination.get())) return outcome(error);
  TransferControl removal;
  removeMovedSource(removal, ends_, skipsUnreadable());
  return {removal.error(), removal.failedItem()};
}

}  // namespace kestova
