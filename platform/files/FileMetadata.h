// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/stat.h>

#include <vector>

namespace kestova {

/// A file-system object as the calls on metadata take it: an open descriptor, or an entry of an
/// open folder that itself cannot be opened (a symbolic link, a special file).
struct FileItem {
  int descriptor = -1;
  int folder = -1;
  const char* name = nullptr;
};

/// What an object just created has already, so that only what differs is set.
struct CreatedFacts {
  uid_t user;
  gid_t group;
  mode_t mode;  ///< The twelve lower bits.
};

/// Copies what surrounds the content of an object: owner, extended attributes, permissions, access
/// control lists, times.
///
/// They are set in an order in which none undoes another: a change of owner clears the set-user-ID
/// bits and capabilities, attributes need the owner's right to write, permissions come before the
/// list that refines them, and everything else may touch the times.
///
/// What the destination cannot keep is left out: owners without the privilege (the set-ID bits of
/// an owner that is not kept are dropped, as they would mean somebody else), attributes on a volume
/// without them, system attributes without the privilege. All else that fails is a failure.
///
/// Threads: one object per thread; it owns the thread's buffers.
class FileMetadata {
 public:
  FileMetadata();

  /// The permissions with which a copy is to be created so that it can be completed.
  mode_t modeForCreation(const struct stat& facts) const;

  /// Gives `target` the metadata of `source`, whose facts are `facts`. 0 or the error number.
  int copy(const FileItem& source, const FileItem& target, const struct stat& facts,
           const CreatedFacts& created);

 private:
  enum class Pass { beforeMode, afterMode };
  struct Attributed;

  int copyOwner(const FileItem& target, const struct stat& facts, const CreatedFacts& created,
                mode_t& mode) const;
  int copyMode(const FileItem& target, mode_t mode, const CreatedFacts& created) const;
  int copyTimes(const FileItem& target, const struct stat& facts) const;
  int copyAttributes(const FileItem& source, const FileItem& target, Pass pass);
  int copyAttribute(const Attributed& source, const Attributed& target, const char* name);
  int readNames(const FileItem& source);
  bool mayIgnore(int error, const char* name) const;

  const bool privileged_;
  std::vector<char> names_;  // of the source's attributes, each with its zero byte
  std::vector<char> value_;
};

}  // namespace kestova
