// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>

#include "files/FileDescriptor.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestova {

/// The folder that a user's preferences lie in, one file for each domain. It need not exist until
/// something is written. Nothing in it is used that belongs to somebody else.
///
/// Threads: immutable, so any number of them may use one.
class PreferencesFolder {
 public:
  PreferencesFolder(std::string path, uid_t owner) : path_(std::move(path)), owner_(owner) {}

  /// Where the environment of the process says.
  static PreferencesFolder ofCurrentUser();

  /// The one in the home folder of the account; nothing when there is no such account.
  static std::optional<PreferencesFolder> ofUser(const std::string& name);

  const std::string& path() const noexcept { return path_; }

  /// Opens it; nothing when it doesn't exist. Throws a PreferencesFault.
  FileDescriptor open() const;

  /// Opens it, and makes it and the folder around it where they don't exist. Throws a
  /// PreferencesFault.
  FileDescriptor openOrMake() const;

  /// Opens a regular file of the user in the open folder; a symbolic link is never followed.
  /// Nothing when it doesn't exist and is not to be made. Throws a PreferencesFault.
  FileDescriptor openFile(int folder, const std::string& name, int flags) const;

  /// The names of all files.
  std::vector<std::string> list() const;

 private:
  void make(const std::string& path) const;
  void giveToOwner(int file) const;

  std::string path_;
  uid_t owner_;
};

/// The name that a domain's file begins with: letters, digits, "-", "_" and "." as they are, but
/// for a "." in front, all other bytes of its UTF-8 form as "%" and two hexadecimal digits, and "%"
/// for the domain without a name. A name that has no UTF-8 form throws NSInvalidArgumentException.
std::string fileStemForDomain(const Ref<NSString>& domain);

/// The domain whose file begins with that name; null when it is none's.
Ref<NSString> domainForFileStem(std::string_view stem);

}  // namespace kestova
