// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/stat.h>

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "files/FileDescriptor.h"
#include "files/TransferControl.h"

namespace kestova {

/// The open descriptors of a folder that is being walked: the folder itself and, where the walk
/// makes or needs one, its counterpart on the other side.
struct OpenFolder {
  FileDescriptor source;
  FileDescriptor target;
};

/// A folder of a walked tree. It lives from its discovery until everything beneath it is done.
struct WalkFolder {
  WalkFolder* parent = nullptr;  ///< Null for the top of the tree. Outlives this one.
  std::string name;
  /// Of the source, taken by `TreeVisitor::enter`; the identity that a reopened folder must have.
  struct stat facts {};

 private:
  friend class TreeWalk;
  std::list<WalkFolder>::iterator self;
  std::shared_ptr<const OpenFolder> open;  // null while unopened or closed for want of descriptors
  std::size_t pending = 1;                 // one for the listing, one per batch and child at work
  bool entered = false;                    // set before a second thread can meet the folder
  bool listed = false;
};

/// One entry of a folder's listing. `type` is one of DT_REG, DT_DIR, … or DT_UNKNOWN.
struct WalkEntry {
  const char* name;
  unsigned char type;
};

/// What one thread of a walk does with what it meets. Failures are told to the walk's control; the
/// walk then ends by itself.
class TreeVisitor {
 public:
  virtual ~TreeVisitor() = default;

  /// Opens `folder` below its parent for the first time and fills in its facts. Null: it is left
  /// out, and `leave` will not be called.
  virtual std::shared_ptr<const OpenFolder> enter(WalkFolder& folder, const OpenFolder& parent) = 0;
  /// Opens it once more, the identity unchecked. Null on failure, `errno` telling why.
  virtual std::shared_ptr<const OpenFolder> reopen(const WalkFolder& folder,
                                                   const OpenFolder& parent) = 0;
  /// Handles an entry; a folder is handed to `TreeWalk::descend` to be walked.
  virtual void visit(WalkFolder& folder, const OpenFolder& open, const WalkEntry& entry) = 0;
  /// Everything beneath `folder` is done.
  virtual void leave(WalkFolder& folder, const OpenFolder& open, const OpenFolder& parent) = 0;
  /// Whether `leave` is to be called, for which a folder may have to be opened once more.
  virtual bool wantsToLeave() const { return true; }
  /// Told of a folder that can't be listed or opened once more. True: the walk goes on without what
  /// is missing. False: it fails.
  virtual bool goesOnAfter(int error) {
    static_cast<void>(error);
    return false;
  }
};

/// Walks a tree with a few threads, a batch of directory entries at a time, without recursion.
///
/// Folders wait on one stack. A thread takes the top one, reads one batch of its listing, puts it
/// back at once when there is more, so that another thread can take the next batch of the same
/// folder, and handles its batch; folders found go on top. So the walk goes deep first, and neither
/// the stack nor the number of open folders grows with the number of files.
///
/// At most some hundred fully listed folders are held open: the one opened first is closed then,
/// and opened again by walking down from its closest open ancestor when its end is to be handled. A
/// folder whose listing is unfinished keeps its descriptor, which knows the position. A folder that
/// is opened again and is not the same one (by device and inode) fails the walk: symbolic links are
/// not followed and nothing outside the tree is touched.
///
/// Threads: `run` uses the calling thread and starts more when there is work for them; all have
/// ended when it returns. `descend` and `pathOf` may be called by the visitors from any of these
/// threads.
class TreeWalk {
 public:
  /// Called by each thread of the walk for its own visitor.
  using MakeVisitor = std::function<std::unique_ptr<TreeVisitor>(TreeWalk& walk)>;

  /// `base` holds the folder in which the tree's top is found; `path` is the top's path for
  /// messages.
  TreeWalk(TransferControl& control, const OpenFolder& base, std::string path,
           std::size_t threads = 2)
      : control_(control), base_(base), path_(std::move(path)), threadLimit_(threads) {}

  /// Walks the tree whose top is the folder `name` in the base. Returns when all is done or the
  /// control has stopped.
  void run(const std::string& name, const MakeVisitor& makeVisitor);

  /// Puts the folder `name` of `parent` before all other work.
  void descend(WalkFolder& parent, const char* name);

  /// The path of an entry of `folder` (of the folder itself when null), for reports.
  std::string pathOf(const WalkFolder& folder, const char* name = nullptr) const;

  TransferControl& control() { return control_; }

 private:
  using Open = std::shared_ptr<const OpenFolder>;

  void work(TreeVisitor& visitor);
  void workWithOwnVisitor();
  std::optional<std::thread> takeThread();
  void startThreadIfUseful();
  WalkFolder* take();
  void put(WalkFolder& folder);
  void add(WalkFolder* parent, const std::string& name);
  void list(WalkFolder& folder, TreeVisitor& visitor, std::vector<char>& buffer);
  void handleBatch(WalkFolder& folder, const Open& open, TreeVisitor& visitor, const char* batch,
                   std::size_t size);
  Open opened(WalkFolder& folder, TreeVisitor& visitor);
  Open openBelow(WalkFolder& folder, const OpenFolder& parent, TreeVisitor& visitor);
  Open keepOpen(WalkFolder& folder, Open open);
  void failOn(const WalkFolder& folder, int error, TreeVisitor& visitor);
  void markListed(WalkFolder& folder);
  void release(WalkFolder* folder, TreeVisitor& visitor);
  void leave(WalkFolder& folder, TreeVisitor& visitor);
  void forget(WalkFolder& folder);

  TransferControl& control_;
  const OpenFolder& base_;
  const std::string path_;
  const std::size_t threadLimit_;
  const MakeVisitor* makeVisitor_ = nullptr;

  // All that follows, and the private members of every WalkFolder, are guarded by mutex_.
  std::mutex mutex_;
  std::condition_variable change_;
  std::list<WalkFolder> folders_;
  std::vector<WalkFolder*> stack_;
  std::vector<WalkFolder*> open_;  // in the order in which they were opened
  std::vector<std::thread> threads_;
  std::size_t waiting_ = 0;
  bool done_ = false;
};

}  // namespace kestova
