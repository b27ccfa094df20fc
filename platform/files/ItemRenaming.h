// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kestova {

/// An entry of an open folder.
struct FolderEntry {
  int folder;
  const std::string& name;
};

/// Renames `from` to `to` and never replaces anything: EEXIST when `to` exists. 0 or the error
/// number.
///
/// On a file system that cannot promise this, a file is linked and unlinked, which keeps the
/// promise; a folder is renamed after a look, which would replace an empty folder made in that
/// instant.
int renameToNew(const FolderEntry& from, const FolderEntry& to);

/// Renames `from` to `to`, which exists, at no instant leaving `to` without one of the two. What
/// `to` was is at `from` afterwards when either is a folder, and gone otherwise. 0 or the error
/// number.
///
/// On a file system that cannot exchange two entries, the old one is first renamed to `to`'s name
/// with ".kestova-old-" and sixteen hexadecimal digits added: for an instant `to` does not exist,
/// and a crash in that instant leaves both under visible names.
int renameReplacing(const FolderEntry& from, const FolderEntry& to);

/// Sixteen random hexadecimal digits.
std::string randomHexDigits();

}  // namespace kestova
