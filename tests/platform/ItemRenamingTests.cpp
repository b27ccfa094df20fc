// SPDX-License-Identifier: Apache-2.0
#include "files/ItemRenaming.h"

#include <linux/fs.h>

#include <optional>

#include "ScriptedFileSystemCalls.h"
#include "TransferFixture.h"

namespace kestova {
namespace {

using testing::ScriptedFileSystemCalls;

class ItemRenamingTest : public testing::TransferFixture {
 protected:
  ItemRenamingTest() : folder_(::open(at("").c_str(), O_RDONLY | O_DIRECTORY)) {}

  int toNew(const std::string& from, const std::string& to) {
    return renameToNew({folder_.get(), from}, {folder_.get(), to});
  }
  int replacing(const std::string& from, const std::string& to) {
    return renameReplacing({folder_.get(), from}, {folder_.get(), to});
  }
  /// A file system that knows none of the flags.
  void forgetFlags() {
    calls_.onRename = [](const std::string&, const std::string&,
                         unsigned flags) -> std::optional<int> {
      if (flags == 0) return std::nullopt;
      return ScriptedFileSystemCalls::failure(EINVAL);
    };
  }
  void expectRenamesOfNew() {
    write("file", "text");
    makeFolder("folder/inner");
    EXPECT_EQ(toNew("file", "file2"), 0);
    EXPECT_EQ(toNew("folder", "folder2"), 0);
    EXPECT_EQ(list(""), (std::set<std::string>{"file2", "folder2", "into"}));
    EXPECT_EQ(toNew("file2", "folder2"), EEXIST);
    EXPECT_EQ(toNew("into", "folder2"), EEXIST);
    EXPECT_EQ(toNew("folder2", "into"), EEXIST) << "an empty folder was replaced";
    EXPECT_EQ(toNew("none", "x"), ENOENT);
    EXPECT_EQ(list(""), (std::set<std::string>{"file2", "folder2", "into"}));
  }
  void expectReplacements() {
    write("new", "new");
    write("old", "old");
    EXPECT_EQ(replacing("new", "old"), 0);
    EXPECT_EQ(read("old"), "new");
    EXPECT_FALSE(exists("new"));
    makeFolder("folder/inner");
    EXPECT_EQ(replacing("folder", "old"), 0);
    EXPECT_TRUE(exists("old/inner"));
    EXPECT_EQ(read("folder"), "new");
    EXPECT_EQ(list("").size(), 3u);
  }
  /// Without the flags, where several renamings make up for them.
  void expectNothingReplacedWhenRenamingFails(int nth) {
    makeFolder("new");
    write("old", "old");
    calls_.onRename = [nth, renames = 0](const std::string&, const std::string&,
                                         unsigned flags) mutable -> std::optional<int> {
      if (flags != 0) return ScriptedFileSystemCalls::failure(EINVAL);
      if (++renames == nth) return ScriptedFileSystemCalls::failure(EIO);
      return std::nullopt;
    };
    EXPECT_EQ(replacing("new", "old"), EIO);
    EXPECT_EQ(read("old"), "old");
    EXPECT_EQ(list(""), (std::set<std::string>{"into", "new", "old"}));
  }

  ScriptedFileSystemCalls calls_;
  FileDescriptor folder_;
};

TEST_F(ItemRenamingTest, RenamesOnlyToNewNames) { expectRenamesOfNew(); }

TEST_F(ItemRenamingTest, RenamesOnlyToNewNamesWithoutTheFlag) {
  forgetFlags();
  expectRenamesOfNew();
}

TEST_F(ItemRenamingTest, RenamesOnlyToNewNamesWithoutTheFlagAndWithoutLinks) {
  forgetFlags();
  calls_.onLink = [](const std::string&, const std::string&) {
    return std::optional(ScriptedFileSystemCalls::failure(EPERM));
  };
  expectRenamesOfNew();
}

TEST_F(ItemRenamingTest, Replaces) { expectReplacements(); }

TEST_F(ItemRenamingTest, ReplacesWithoutTheFlag) {
  forgetFlags();
  expectReplacements();
}

TEST_F(ItemRenamingTest, PutsTheOldItemBackWhenTheNewOneCannotTakeItsPlace) {
  expectNothingReplacedWhenRenamingFails(2);
}

TEST_F(ItemRenamingTest, PutsBothItemsBackWhenTheOldOneCannotTakeTheOtherPlace) {
  expectNothingReplacedWhenRenamingFails(3);
}

TEST_F(ItemRenamingTest, TakesTheNewLinkBackWhenTheOldNameCannotGo) {
  write("file", "text");
  forgetFlags();
  calls_.onUnlink = [](const std::string& name, int) -> std::optional<int> {
    if (name != "file") return std::nullopt;
    return ScriptedFileSystemCalls::failure(EIO);
  };
  EXPECT_EQ(toNew("file", "file2"), EIO);
  EXPECT_EQ(list(""), (std::set<std::string>{"file", "into"}));
}

TEST_F(ItemRenamingTest, KeepsTheNewLinkWhenSomebodyElseHasRemovedTheOldName) {
  write("file", "text");
  forgetFlags();
  calls_.onUnlink = [this](const std::string& name, int) -> std::optional<int> {
    std::filesystem::remove(at(name));
    return ScriptedFileSystemCalls::failure(ENOENT);
  };
  EXPECT_EQ(toNew("file", "file2"), 0);
  EXPECT_EQ(read("file2"), "text");
}

TEST_F(ItemRenamingTest, TheOldItemIsSetAsideUnderAVisibleNameOfItsOwn) {
  makeFolder("new");
  write("old", "old");
  forgetFlags();
  std::string aside;
  calls_.onRename = [&](const std::string& from, const std::string& to,
                        unsigned flags) -> std::optional<int> {
    if (flags != 0) return ScriptedFileSystemCalls::failure(EINVAL);
    if (from == "old") aside = to;
    return std::nullopt;
  };
  EXPECT_EQ(replacing("new", "old"), 0);
  EXPECT_TRUE(aside.starts_with("old.kestova-old-")) << aside;
  EXPECT_EQ(aside.size(), 32u);
}

TEST_F(ItemRenamingTest, RandomDigitsDiffer) {
  EXPECT_EQ(randomHexDigits().size(), 16u);
  EXPECT_NE(randomHexDigits(), randomHexDigits());
  EXPECT_EQ(randomHexDigits().find_first_not_of("0123456789abcdef"), std::string::npos);
}

}  // namespace
}  // namespace kestova
