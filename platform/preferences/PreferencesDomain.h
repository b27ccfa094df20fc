// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSString.h>

#include "collections/ObjectTable.h"
#include "preferences/ChangedKeys.h"
#include "preferences/PreferencesFile.h"
#include "preferences/PreferencesFolder.h"
#include "preferences/PreferencesImage.h"
#include "preferences/PreferencesLock.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <string>

namespace kestova {

/// One persistent domain as this process sees it: what its file held when it was last read, with
/// the changes made here since.
///
/// Changes wait in memory until `synchronize` writes them: key by key, into what the file holds by
/// then. What can't be written goes on waiting.
///
/// Threads: any. Reading and changing never wait for the disk, once the domain has been loaded.
class PreferencesDomain {
 public:
  /// `changes` counts up with every change of what a domain holds; it and the folder must outlive
  /// the domain.
  PreferencesDomain(const Ref<NSString>& name, const PreferencesFolder& folder,
                    std::atomic<std::uint64_t>& changes);
  PreferencesDomain(const PreferencesDomain&) = delete;
  PreferencesDomain& operator=(const PreferencesDomain&) = delete;

  const Ref<NSString>& name() const noexcept { return name_; }

  id objectForKey(const id& key);

  /// `value` is a property list that nobody else changes; null removes the key, a string that
  /// nobody else changes either.
  void setValue_forKey(const id& value, id key);

  /// All of it, immutable; empty where there is none. This thread knows it from then on, until it
  /// changes the domain.
  Ref<NSDictionary> contents();

  /// Makes the domain this, as seen from what this thread knows of it, or from what the file holds
  /// now where it knows nothing: what differs from that is changed, and nothing else. Throws
  /// NSInvalidArgumentException, and changes nothing, for what is no property list.
  void setContents(const Ref<NSDictionary>& contents);

  /// Sets every entry in another dictionary; the thread is told nothing by that.
  void addEntriesTo(NSMutableDictionary& dictionary);

  bool isEmpty();
  /// Removes all that is in the file now.
  void removeAll();

  bool hasPendingChanges();

  /// Writes the changes, or reads what has been written by others, or both. Answers false when
  /// something could not be done, and logs why unless that is what it logged last.
  bool synchronize();

 private:
  class Writing;

  void load();
  void changePending(const ObjectMap& changed);
  void change(id key, const id& value);
  void apply(const id& key, const id& value);
  Ref<NSDictionary> snapshot();

  PreferencesLock lockIn(int folder);
  void bringInStep();
  void readNew();
  void replaceDamaged(int folder, const PreferencesFile& file);
  void writePending();
  void adopt(const PreferencesFile& file);
  void take(PreferencesFile::Contents read);
  PreferencesFile::Contents putAside(const PreferencesFile& file, const Ref<NSString>& problem);
  void see(SeenFile seen);
  std::span<const std::byte> bytesOf(const Ref<NSDictionary>& whole);
  void write(const PreferencesFile& file, const Ref<NSDictionary>& whole);
  void tell(const Ref<NSString>& problem);

  const Ref<NSString> name_;
  const PreferencesFolder& folder_;
  const std::string fileName_;
  const std::string filePath_;
  const std::string lockName_;
  std::atomic<std::uint64_t>& changes_;
  /// Tells domains apart, also those that are gone.
  const std::uint64_t number_;

  /// Whether the file has been looked at, with or without success.
  std::atomic<bool> isLoaded_{false};

  /// Held while the file is used, and for what follows.
  std::mutex fileMutex_;
  SeenFile seen_;
  /// Of the contents when they were last about to be written.
  PreferencesImage image_;
  Ref<NSString> toldProblem_;
  /// Until then nobody waits for the lock.
  std::chrono::steady_clock::time_point patientAgain_;

  /// Guards what follows; never held while something is read or written.
  std::mutex mutex_;
  Ref<NSMutableDictionary> contents_;
  /// Whether they are being written just now, by one who doesn't hold the mutex.
  bool areContentsRead_ = false;
  /// An immutable copy of the contents; null when they have changed since.
  Ref<NSDictionary> snapshot_;
  /// The keys of what is to be written: as the contents have it, or removed where they don't.
  ChangedKeys pending_;
  /// Of what is being written just now. Only who holds the other mutex as well changes it.
  ChangedKeys inWriting_;
};

}  // namespace kestova
