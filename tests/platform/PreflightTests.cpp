// SPDX-License-Identifier: Apache-2.0
#include "files/Preflight.h"

#include "ChildProcess.h"
#include "MountedTmpfs.h"
#include "ScriptedFileSystemCalls.h"
#include "TransferFixture.h"

namespace kestova {
namespace {

class PreflightTest : public testing::TransferFixture {
 protected:
  /// Looks at a source and answers the error; the figures are kept.
  int look(const std::string& source, bool skipsUnreadable = false) {
    TransferEndpoints ends;
    EXPECT_EQ(ends.open(request(TransferKind::copy, source, "copy")), noErr);
    TransferControl control;
    preflightCopy(control, ends, skipsUnreadable);
    figures_ = control.progress().figures({});
    item_ = control.failedItem();
    return control.error();
  }
  void expectTotals(std::uint64_t bytes, std::uint64_t objects, std::uint64_t userVisible) {
    EXPECT_EQ(figures_.bytes.total, bytes);
    EXPECT_EQ(figures_.objects.total, objects);
    EXPECT_EQ(figures_.userVisibleObjects.total, userVisible);
    EXPECT_EQ(figures_.objects.complete, 0u);
  }

  TransferFigures figures_;
  std::string item_;
};

TEST_F(PreflightTest, CountsAFile) {
  write(".hidden", "text");
  EXPECT_EQ(look(".hidden"), 0);
  expectTotals(4, 1, 0);
}

TEST_F(PreflightTest, CountsALinkAsAnObjectWithoutBytes) {
  std::filesystem::create_symlink("somewhere", at("link"));
  EXPECT_EQ(look("link"), 0);
  expectTotals(0, 1, 1);
}

TEST_F(PreflightTest, CountsATreeOfManyBatches) {
  for (int folder = 0; folder < 40; ++folder) {
    const std::string name = "tree/" + std::to_string(folder);
    makeFolder(name);
    for (int file = 0; file < 30; ++file) write(name + "/" + std::to_string(file), "12345");
  }
  for (int file = 0; file < 3000; ++file) write("tree/.hidden " + std::to_string(file), "1");
  EXPECT_EQ(look("tree"), 0);
  expectTotals(40 * 30 * 5 + 3000, 1 + 40 + 40 * 30 + 3000, 1 + 40 + 40 * 30);
}

TEST_F(PreflightTest, CountsTheBytesOfAFileWithSeveralLinksOnce) {
  makeFolder("tree");
  write("tree/a", "12345");
  std::filesystem::create_hard_link(at("tree/a"), at("tree/b"));
  std::filesystem::create_hard_link(at("tree/a"), at("outside"));
  EXPECT_EQ(look("tree"), 0);
  expectTotals(5, 3, 3);
}

TEST_F(PreflightTest, CountsTheLogicalSizeOfAFileWithHoles) {
  write("sparse", "");
  std::filesystem::resize_file(at("sparse"), 12345678);
  EXPECT_EQ(look("sparse"), 0);
  expectTotals(12345678, 1, 1);
}

TEST_F(PreflightTest, PassesOverAFolderThatVanishes) {
  makeFolder("tree/a");
  makeFolder("tree/b");
  testing::ScriptedFileSystemCalls calls;
  calls.onOpen = [&](int, const char* name, int) -> std::optional<int> {
    if (std::string(name) == "a") ::rmdir(at("tree/a").c_str());
    return std::nullopt;
  };
  EXPECT_EQ(look("tree"), 0);
  expectTotals(0, 2, 2);
}

TEST_F(PreflightTest, FailsOnAFolderThatCannotBeOpened) {
  makeFolder("tree/a");
  testing::ScriptedFileSystemCalls calls;
  calls.onOpen = [&](int, const char* name, int) -> std::optional<int> {
    if (std::string(name) != "a") return std::nullopt;
    return testing::ScriptedFileSystemCalls::failure(EIO);
  };
  EXPECT_EQ(look("tree"), EIO);
  EXPECT_EQ(item_, at("tree/a"));
}

TEST_F(PreflightTest, LeavesOutWhatMayNotBeReadIfAsked) {
  if (::geteuid() != 0) GTEST_SKIP() << "becoming another user needs root";
  makeFolder("tree/closed");
  write("tree/secret", "secret");
  write("tree/open", "text");
  ::chmod(at("tree/closed").c_str(), 0700);
  ::chmod(at("tree/secret").c_str(), 0600);
  ::chmod(at("").c_str(), 0755);
  EXPECT_EQ(testing::runAsNobody([&] { return look("tree", false); }), EACCES);
  const int totals = testing::runAsNobody([&] {
    const int error = look("tree", true);
    return error != 0 ? 100 : static_cast<int>(10 * figures_.objects.total + figures_.bytes.total);
  });
  EXPECT_EQ(totals, 24);
}

}  // namespace
}  // namespace kestova
