// SPDX-License-Identifier: Apache-2.0
#include "files/TreeWalk.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <optional>
#include <system_error>

#include "files/FileSystemCalls.h"
#include "files/ItemIdentity.h"
#include "files/PathText.h"

namespace kestova {
namespace {

constexpr std::size_t kBatchBytes = 32 * 1024;
constexpr std::size_t kOpenLimit = 100;
// A read that leaves room for a longest entry has most likely reached the end of the listing.
constexpr std::size_t kFullBatch = kBatchBytes - sizeof(dirent64);

}  // namespace

void TreeWalk::run(const std::string& name, const MakeVisitor& makeVisitor) {
  makeVisitor_ = &makeVisitor;
  add(nullptr, name);
  workWithOwnVisitor();
  while (std::optional<std::thread> thread = takeThread()) thread->join();
}

std::optional<std::thread> TreeWalk::takeThread() {
  const std::lock_guard lock(mutex_);
  if (threads_.empty()) return std::nullopt;
  std::thread thread = std::move(threads_.back());
  threads_.pop_back();
  return thread;
}

void TreeWalk::descend(WalkFolder& parent, const char* name) {
  add(&parent, name);
  startThreadIfUseful();
}

void TreeWalk::add(WalkFolder* parent, const std::string& name) {
  const std::lock_guard lock(mutex_);
  WalkFolder& folder = folders_.emplace_front();
  folder.self = folders_.begin();
  folder.parent = parent;
  folder.name = name;
  if (parent) ++parent->pending;
  stack_.push_back(&folder);
  if (waiting_ > 0) change_.notify_one();
}

std::string TreeWalk::pathOf(const WalkFolder& folder, const char* name) const {
  std::vector<const std::string*> names;
  for (const WalkFolder* each = &folder; each->parent; each = each->parent) {
    names.push_back(&each->name);
  }
  std::string path = path_;
  for (auto each = names.rbegin(); each != names.rend(); ++each) path.append("/").append(**each);
  if (name) path.append("/").append(name);
  return path;
}

// A walk that finds no second folder or batch stays on one thread: most trees are small.
void TreeWalk::startThreadIfUseful() {
  const std::lock_guard lock(mutex_);
  if (stack_.size() < 2 || threads_.size() + 1 >= threadLimit_ || control_.stopped()) return;
  try {
    threads_.emplace_back([this] { workWithOwnVisitor(); });
  } catch (const std::system_error&) {
    // No more threads to be had: the others do the work.
  }
}

void TreeWalk::workWithOwnVisitor() {
  try {
    const auto visitor = (*makeVisitor_)(*this);
    work(*visitor);
  } catch (const std::bad_alloc&) {
    control_.fail(ENOMEM, {});
    const std::lock_guard lock(mutex_);
    change_.notify_all();
  }
}

void TreeWalk::work(TreeVisitor& visitor) {
  std::vector<char> buffer(kBatchBytes);
  while (WalkFolder* folder = take()) list(*folder, visitor, buffer);
  const std::lock_guard lock(mutex_);
  change_.notify_all();
}

WalkFolder* TreeWalk::take() {
  std::unique_lock lock(mutex_);
  while (!done_ && !control_.stopped() && stack_.empty()) {
    ++waiting_;
    change_.wait(lock);
    --waiting_;
  }
  if (done_ || control_.stopped()) return nullptr;
  WalkFolder* folder = stack_.back();
  stack_.pop_back();
  return folder;
}

void TreeWalk::put(WalkFolder& folder) {
  {
    const std::lock_guard lock(mutex_);
    ++folder.pending;
    stack_.push_back(&folder);
    if (waiting_ > 0) change_.notify_one();
  }
  startThreadIfUseful();
}

void TreeWalk::list(WalkFolder& folder, TreeVisitor& visitor, std::vector<char>& buffer) {
  const Open open = opened(folder, visitor);
  while (open && !control_.stopped()) {
    const ssize_t size = uninterrupted([&] {
      return FileSystemCalls::current().getdents64(open->source.get(), buffer.data(), kBatchBytes);
    });
    if (size < 0) failOn(folder, errno, visitor);
    if (size <= 0) break;
    const bool more = static_cast<std::size_t>(size) > kFullBatch;
    if (more) put(folder);
    handleBatch(folder, open, visitor, buffer.data(), static_cast<std::size_t>(size));
    if (more) return release(&folder, visitor);
  }
  markListed(folder);
  release(&folder, visitor);
}

void TreeWalk::handleBatch(WalkFolder& folder, const Open& open, TreeVisitor& visitor,
                           const char* batch, std::size_t size) {
  for (const char* at = batch; at < batch + size && !control_.stopped();) {
    const auto* entry = reinterpret_cast<const dirent64*>(at);
    at += entry->d_reclen;
    if (!isSelfOrParent(entry->d_name))
      visitor.visit(folder, *open, {entry->d_name, entry->d_type});
  }
}

// The folder's descriptors, opening it and whatever of its ancestors is closed. Null when it is
// left out or the control has been told of a failure.
TreeWalk::Open TreeWalk::opened(WalkFolder& folder, TreeVisitor& visitor) {
  std::vector<WalkFolder*> closed;
  Open above;
  {
    const std::lock_guard lock(mutex_);
    for (WalkFolder* each = &folder; each && !above; each = each->parent) {
      above = each->open;
      if (!above) closed.push_back(each);
    }
  }
  while (!closed.empty()) {
    above = openBelow(*closed.back(), above ? *above : base_, visitor);
    if (!above) return nullptr;
    closed.pop_back();
  }
  return above;
}

TreeWalk::Open TreeWalk::openBelow(WalkFolder& folder, const OpenFolder& parent,
                                   TreeVisitor& visitor) {
  if (!folder.entered) {
    // Only the thread that took the folder from the stack for the first time gets here.
    Open first = visitor.enter(folder, parent);
    folder.entered = first != nullptr;
    return keepOpen(folder, std::move(first));
  }
  Open open = visitor.reopen(folder, parent);
  struct stat facts {};
  if (open && ::fstat(open->source.get(), &facts) == 0) {
    if (isSameItem(facts, folder.facts)) return keepOpen(folder, std::move(open));
    errno = ENOENT;
  }
  failOn(folder, errno, visitor);
  return nullptr;
}

void TreeWalk::failOn(const WalkFolder& folder, int error, TreeVisitor& visitor) {
  if (!visitor.goesOnAfter(error)) control_.fail(error, pathOf(folder));
}

TreeWalk::Open TreeWalk::keepOpen(WalkFolder& folder, Open open) {
  if (!open) return nullptr;
  Open closing;  // released after the lock
  const std::lock_guard lock(mutex_);
  if (folder.open) return folder.open;  // another thread was quicker
  folder.open = std::move(open);
  open_.push_back(&folder);
  if (open_.size() > kOpenLimit) {
    const auto oldest = std::find_if(open_.begin(), open_.end() - 1,
                                     [](const WalkFolder* each) { return each->listed; });
    if (oldest != open_.end() - 1) {
      closing = std::move((*oldest)->open);
      open_.erase(oldest);
    }
  }
  return folder.open;
}

void TreeWalk::markListed(WalkFolder& folder) {
  const std::lock_guard lock(mutex_);
  folder.listed = true;
}

// Gives back one of the folder's pending tokens; the last one ends the folder and gives back its
// parent's, and so on upwards.
void TreeWalk::release(WalkFolder* folder, TreeVisitor& visitor) {
  while (folder) {
    {
      const std::lock_guard lock(mutex_);
      if (--folder->pending > 0) return;
    }
    leave(*folder, visitor);
    WalkFolder* const parent = folder->parent;
    forget(*folder);
    folder = parent;
  }
}

void TreeWalk::leave(WalkFolder& folder, TreeVisitor& visitor) {
  if (!visitor.wantsToLeave() || !folder.entered || control_.stopped()) return;
  const Open open = opened(folder, visitor);
  if (!open) return;
  const Open parent = folder.parent ? opened(*folder.parent, visitor) : nullptr;
  if (folder.parent && !parent) return;
  visitor.leave(folder, *open, parent ? *parent : base_);
}

void TreeWalk::forget(WalkFolder& folder) {
  Open closing;  // released after the lock
  const std::lock_guard lock(mutex_);
  closing = std::move(folder.open);
  if (closing) open_.erase(std::find(open_.rbegin(), open_.rend(), &folder).base() - 1);
  done_ = folder.parent == nullptr;
  folders_.erase(folder.self);
}

}  // namespace kestova
