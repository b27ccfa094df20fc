// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSString.h>

#include "files/FileDescriptor.h"
#include "preferences/PreferencesFolder.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace kestova {

/// Which state of a file was seen: another one has another identity. Default-made: no file.
struct FileIdentity {
  dev_t device = 0;
  ino_t number = 0;
  off_t size = 0;
  std::int64_t modified = 0;
  std::int64_t changed = 0;

  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

/// That of what is at a path now; default-made where nothing can be looked at.
FileIdentity identityAt(const std::string& path) noexcept;

/// A state of a file that was seen. As long as it is kept, no later one has its identity: the
/// file is open, so that its number is given to no other.
struct SeenFile {
  FileIdentity identity;
  FileDescriptor file;
};

/// A file that holds no preferences, from which nothing can be read.
struct DamagedPreferences {
  /// What is wrong with it: a whole sentence.
  Ref<NSString> problem;
};

/// The file of one domain, in a folder that is open: a binary property list with a dictionary.
///
/// Every operation throws a PreferencesFault where it fails. Reading needs no lock: a file is never
/// changed, but replaced as a whole. All that changes something needs the domain's lock.
class PreferencesFile {
 public:
  struct Contents {
    SeenFile seen;
    Ref<NSDictionary> dictionary;
  };

  PreferencesFile(const PreferencesFolder& folder, int openFolder, const std::string& name)
      : folder_(folder), openFolder_(openFolder), name_(name) {}

  FileIdentity identity() const;

  /// What is in it; an empty dictionary when it doesn't exist. Throws DamagedPreferences as well.
  Contents read() const;

  /// Puts a new file in its place. On return it is on the disk. Answers the new one. Refuses what
  /// could not be read again.
  SeenFile replace(std::span<const std::byte> bytes) const;

  /// Removes it. On return that is on the disk.
  void remove() const;

  /// Gives it a name that tells the date, and answers that.
  std::string putAside() const;

 private:
  std::string newName() const { return name_ + ".new"; }
  void fill(int file, std::span<const std::byte> bytes) const;
  void flushFolder() const;

  const PreferencesFolder& folder_;
  int openFolder_;
  const std::string& name_;
};

/// The dictionary that the bytes of a domain's file hold. Throws DamagedPreferences.
Ref<NSDictionary> preferencesInData(const Ref<NSData>& bytes);

}  // namespace kestova
