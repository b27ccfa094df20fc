// SPDX-License-Identifier: Apache-2.0
#include "files/HardLinkTable.h"

#include <fcntl.h>

#include "files/FileSystemCalls.h"

namespace kestova {
namespace {

std::string anchorName(const std::pair<dev_t, ino_t>& key) {
  return std::to_string(key.first) + "-" + std::to_string(key.second);
}

}  // namespace

HardLinkTable::Answer HardLinkTable::link(const struct stat& facts, int folder, const char* name) {
  std::unique_lock lock(mutex_);
  const Key key{facts.st_dev, facts.st_ino};
  auto copy = copies_.find(key);
  while (copy != copies_.end() && !copy->second.ready) {
    change_.wait(lock);
    copy = copies_.find(key);
  }
  if (copy == copies_.end()) {
    copies_[key].unmet = facts.st_nlink - 1;
    return Answer::first;
  }
  return makeLink(copy, folder, name) ? Answer::linked : Answer::alone;
}

void HardLinkTable::publish(const struct stat& facts, int folder, const char* name) {
  const std::lock_guard lock(mutex_);
  const auto copy = copies_.find({facts.st_dev, facts.st_ino});
  copy->second.ready =
      openAnchors() && FileSystemCalls::current().linkat(folder, name, anchors_.get(),
                                                         anchorName(copy->first).c_str()) == 0;
  if (!copy->second.ready) copies_.erase(copy);
  change_.notify_all();
}

void HardLinkTable::abandon(const struct stat& facts) {
  const std::lock_guard lock(mutex_);
  copies_.erase({facts.st_dev, facts.st_ino});
  change_.notify_all();
}

bool HardLinkTable::openAnchors() {
  if (anchors_) return true;
  if (::mkdirat(stagingFolder_, name_.c_str(), 0700) != 0 && errno != EEXIST) return false;
  constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
  anchors_ = FileDescriptor(openExisting(stagingFolder_, name_.c_str(), kFlags));
  return static_cast<bool>(anchors_);
}

bool HardLinkTable::makeLink(std::map<Key, Copy>::iterator copy, int folder, const char* name) {
  FileSystemCalls& calls = FileSystemCalls::current();
  const std::string anchor = anchorName(copy->first);
  if (--copy->second.unmet > 0)
    return calls.linkat(anchors_.get(), anchor.c_str(), folder, name) == 0;
  copies_.erase(copy);
  return calls.renameat2(anchors_.get(), anchor.c_str(), folder, name, 0) == 0;
}

}  // namespace kestova
