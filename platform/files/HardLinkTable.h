// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/stat.h>

#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "files/FileDescriptor.h"

namespace kestova {

/// Keeps files that have several links in a copied tree one file in the copy.
///
/// The first thread that meets such a file copies it; others that meet another link wait for it. An
/// extra link to the copy is kept in a folder beside the tree, so that neither paths nor
/// descriptors have to be remembered; the last link that the source has is made by moving it away
/// from there.
///
/// Where the destination knows no links, or no more of them, each link becomes a file of its own.
///
/// Threads: all functions may be called from any thread. Memory grows with the files that have
/// links still unmet.
class HardLinkTable {
 public:
  /// What became of asking for a link.
  enum class Answer {
    linked,  ///< The link is there.
    first,   ///< None is there yet: copy the file, then call `publish` or `abandon`.
    alone,   ///< Copy the file; it will have no links.
  };

  /// `stagingFolder` is where the folder of extra links, called `name`, is made when one is needed.
  HardLinkTable(int stagingFolder, std::string name)
      : stagingFolder_(stagingFolder), name_(std::move(name)) {}

  /// Makes the entry `name` of `folder` a link to the copy of the file with these facts, if there
  /// is one. Waits while another thread is copying it.
  Answer link(const struct stat& facts, int folder, const char* name);
  /// The copy that `link` asked for is complete and is the entry `name` of `folder`.
  void publish(const struct stat& facts, int folder, const char* name);
  /// The copy that `link` asked for was not made.
  void abandon(const struct stat& facts);

 private:
  using Key = std::pair<dev_t, ino_t>;
  struct Copy {
    nlink_t unmet = 0;
    bool ready = false;
  };

  bool openAnchors();
  bool makeLink(std::map<Key, Copy>::iterator copy, int folder, const char* name);

  const int stagingFolder_;
  const std::string name_;

  std::mutex mutex_;
  std::condition_variable change_;
  std::map<Key, Copy> copies_;  // guarded by mutex_
  FileDescriptor anchors_;      // guarded by mutex_; the folder of extra links
};

}  // namespace kestova
