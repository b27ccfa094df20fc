// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <signal.h>
#include <spawn.h>

#include <string>
#include <vector>

namespace kestova {

/// What a started program's descriptors are made of.
class FileActions {
 public:
  FileActions() { posix_spawn_file_actions_init(&actions_); }
  ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;

  void put(int descriptor, int number) {
    posix_spawn_file_actions_adddup2(&actions_, descriptor, number);
  }
  void open(int number, const char* path, int flags) {
    posix_spawn_file_actions_addopen(&actions_, number, path, flags, 0);
  }

  /// Closes every descriptor behind that one that the program would get.
  void closeBehind(int last) { posix_spawn_file_actions_addclosefrom_np(&actions_, last + 1); }

  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

/// Signals as a new program expects them, whatever this process does with its own.
class FreshSignals {
 public:
  FreshSignals() {
    sigset_t signals;
    posix_spawnattr_init(&attributes_);
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~FreshSignals() { posix_spawnattr_destroy(&attributes_); }
  FreshSignals(const FreshSignals&) = delete;
  FreshSignals& operator=(const FreshSignals&) = delete;

  const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_{};
};

/// The words as a program's arguments, with the null at the end; good for as long as the words are.
inline std::vector<char*> pointersTo(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (std::string& word : words) {
    pointers.push_back(word.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace kestova
