// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>

#include "TemporaryFolder.h"
#include "TreeDifferences.h"
#include "files/FileTransfer.h"
#include "files/StagingArea.h"
#include "files/TreeRemover.h"

namespace kestova::testing {

/// The verbs of tests that copy and move: a folder with the sources and, in it, the destination
/// `into`.
class TransferFixture : public ::testing::Test {
 protected:
  TransferFixture() { makeFolder("into"); }
  // The trees of these tests are deeper than what the standard library removes.
  ~TransferFixture() override { removeTree(AT_FDCWD, folder_.path()); }

  std::string at(const std::string& name) const { return folder_.at(name); }
  std::string write(const std::string& name, const std::string& content) const {
    return folder_.write(name, content);
  }
  std::string read(const std::string& name) const { return folder_.read(name); }
  void makeFolder(const std::string& name) const { std::filesystem::create_directories(at(name)); }
  bool exists(const std::string& name) const {
    struct stat facts {};
    return ::lstat(at(name).c_str(), &facts) == 0;
  }
  struct stat facts(const std::string& name) const {
    struct stat facts {};
    EXPECT_EQ(::lstat(at(name).c_str(), &facts), 0) << name;
    return facts;
  }

  TransferRequest request(TransferKind kind, const std::string& source, const std::string& name,
                          std::uint32_t options = 0) const {
    return {at(source), at("into"), name, kind, options};
  }
  /// Carries a request out and keeps the last snapshot.
  OSStatus carryOut(const TransferRequest& request) {
    FileTransfer transfer(request);
    const OSStatus started = transfer.start();
    if (started != noErr) return started;
    transfer.wait();
    last_ = transfer.snapshot();
    return last_.status;
  }
  OSStatus copy(const std::string& source, const std::string& name, std::uint32_t options = 0) {
    return carryOut(request(TransferKind::copy, source, name, options));
  }
  OSStatus move(const std::string& source, const std::string& name, std::uint32_t options = 0) {
    return carryOut(request(TransferKind::move, source, name, options));
  }
  const TransferSnapshot& last() const { return last_; }

  /// The names in a folder.
  std::set<std::string> list(const std::string& name) const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(at(name))) {
      names.insert(entry.path().filename());
    }
    return names;
  }

  static std::string differences(const std::string& a, const std::string& b) {
    return treeDifferences(a, b);
  }

 private:
  TemporaryFolder folder_;
  TransferSnapshot last_;
};

}  // namespace kestova::testing
