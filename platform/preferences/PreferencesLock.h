// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "files/FileDescriptor.h"
#include "preferences/PreferencesFolder.h"

#include <chrono>
#include <string>

namespace kestova {

/// The right to write one domain's file, held by one process and thread at a time while it lives.
///
/// It is a lock on a file beside the domain's that nobody deletes, so that it goes with the process
/// that holds it, however that ends.
class PreferencesLock {
 public:
  static constexpr std::chrono::milliseconds kPatience{5000};

  /// Waits until it is free. Throws a PreferencesFault when it isn't in that time, and where it
  /// can't be had at all.
  PreferencesLock(const PreferencesFolder& folder, int openFolder, const std::string& name,
                  std::chrono::milliseconds patience = kPatience);
  ~PreferencesLock();
  PreferencesLock(const PreferencesLock&) = delete;
  PreferencesLock& operator=(const PreferencesLock&) = delete;

 private:
  FileDescriptor file_;
};

}  // namespace kestova
