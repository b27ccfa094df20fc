// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSDictionary.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "TemporaryFolder.h"
#include "preferences/PreferencesDomain.h"
#include "preferences/PropertyListCopy.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace kestova::testing {

/// What one process has of a domain: several in one test stand for several processes.
class PreferencesProcess {
 public:
  explicit PreferencesProcess(const std::string& path, const char* domain = "org.example.Editor")
      : folder_(path, ::geteuid()), domain_(domain, folder_, changes_) {}

  PreferencesDomain* operator->() { return &domain_; }

  void set(const char* key, const id& value) {
    domain_.setValue_forKey(value ? propertyListCopy(value, key) : nullptr, key);
  }

  /// Sets and writes.
  bool save(const char* key, const id& value) {
    set(key, value);
    return domain_.synchronize();
  }

  std::uint64_t changes() const { return changes_; }

 private:
  std::atomic<std::uint64_t> changes_{0};
  PreferencesFolder folder_;
  PreferencesDomain domain_;
};

/// A folder of preferences with the file of one domain, and what is logged about it.
class PreferencesFileFixture : public ::testing::Test {
 protected:
  PreferencesFileFixture() { std::filesystem::create_directory(path()); }

  std::string path() const { return place_.at("kestova"); }
  std::string file() const { return path() + "/org.example.Editor.plist"; }

  Ref<NSDictionary> onDisk() const { return NSDictionary::dictionaryWithContentsOfFile(file()); }

  std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator(path())) {
      all.push_back(entry.path().filename());
    }
    std::ranges::sort(all);
    return all;
  }

  TemporaryFolder place_;
  CapturedLog log_;
};

MATCHER_P(Is, expected, "") { return isEqualOrBothNull(arg, expected); }

}  // namespace kestova::testing
