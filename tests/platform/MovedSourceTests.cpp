// SPDX-License-Identifier: Apache-2.0
#include "files/MovedSource.h"

#include "ChildProcess.h"
#include "FileAttributes.h"
#include "TransferFixture.h"

namespace kestova {
namespace {

/// A source `a` whose complete copy is `into/copy`.
class MovedSourceTest : public testing::TransferFixture {
 protected:
  MovedSourceTest() {
    makeFolder("a/inner");
    write("a/file", "text");
    write("a/inner/file", "text");
    EXPECT_EQ(copy("a", "copy"), noErr);
    EXPECT_EQ(ends_.open(request(TransferKind::move, "a", "copy", kTransferOverwrite)), noErr);
  }
  int remove(bool skipsUnreadable = false) {
    TransferControl control;
    removeMovedSource(control, ends_, skipsUnreadable);
    item_ = control.failedItem();
    return control.error();
  }

  TransferEndpoints ends_;
  std::string item_;
};

TEST_F(MovedSourceTest, RemovesWhatHasItsEqual) {
  EXPECT_EQ(remove(), 0);
  EXPECT_FALSE(exists("a"));
  EXPECT_EQ(read("into/copy/inner/file"), "text");
}

TEST_F(MovedSourceTest, KeepsWhatCameAfterwards) {
  write("a/inner/new", "new");
  EXPECT_EQ(remove(), EBUSY);
  EXPECT_EQ(read("a/inner/new"), "new");
  EXPECT_EQ(item_, at("a/inner/new"));
}

TEST_F(MovedSourceTest, KeepsAFolderThatCameAfterwards) {
  makeFolder("a/inner/new");
  write("a/inner/new/file", "new");
  EXPECT_EQ(remove(), EBUSY);
  EXPECT_EQ(read("a/inner/new/file"), "new");
}

TEST_F(MovedSourceTest, KeepsAFileThatHasGrown) {
  write("a/inner/file", "text and more");
  EXPECT_EQ(remove(), EBUSY);
  EXPECT_EQ(read("a/inner/file"), "text and more");
}

TEST_F(MovedSourceTest, KeepsAFileThatWasChangedInPlace) {
  testing::setTimes(at("a/file"), {5, 0}, {5, 0});
  EXPECT_EQ(remove(), EBUSY);
  EXPECT_EQ(read("a/file"), "text");
}

TEST_F(MovedSourceTest, KeepsWhatTookTheSourcesName) {
  std::filesystem::rename(at("a"), at("b"));
  makeFolder("a");
  EXPECT_EQ(remove(), EBUSY);
  EXPECT_TRUE(exists("a"));
  EXPECT_TRUE(exists("b/file"));
}

TEST_F(MovedSourceTest, SaysWhenTheSourceIsGone) {
  std::filesystem::remove_all(at("a"));
  EXPECT_EQ(remove(), ENOENT);
}

TEST_F(MovedSourceTest, KeepsInSilenceWhatWasLeftOut) {
  if (::geteuid() != 0) GTEST_SKIP() << "becoming another user needs root";
  makeFolder("a/closed");
  write("a/inner/secret", "secret");
  ASSERT_EQ(std::system(("cd '" + at("") +
                         "' && chown -R 65534:65534 . && chmod 755 . && "
                         "chown root a/closed a/inner/secret && chmod 0 a/closed a/inner/secret")
                            .c_str()),
            0);
  EXPECT_NE(testing::runAsNobody([&] { return remove(false); }), 0);
  EXPECT_EQ(testing::runAsNobody([&] { return remove(true); }), 0);
  EXPECT_TRUE(exists("a/closed"));
  EXPECT_TRUE(exists("a/inner/secret"));
  EXPECT_FALSE(exists("a/file"));
}

}  // namespace
}  // namespace kestova
