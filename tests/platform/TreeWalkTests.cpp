// SPDX-License-Identifier: Apache-2.0
#include "files/TreeWalk.h"

#include <dirent.h>

#include <algorithm>
#include <mutex>

#include "TransferFixture.h"

namespace kestova {
namespace {

/// What a walk has met, told by its visitors.
struct Record {
  std::mutex mutex;
  std::multiset<std::string> entries;  // paths, folders with a slash at the end when they are left
  std::set<std::string> unfinished;    // folders that were entered and not yet left
  std::size_t open = 0;
  std::size_t mostOpen = 0;
  std::size_t reopened = 0;
};

class Recorder : public TreeVisitor {
 public:
  Recorder(TreeWalk& walk, Record& record) : walk_(walk), record_(record) {}

  std::shared_ptr<const OpenFolder> enter(WalkFolder& folder, const OpenFolder& parent) override {
    if (folder.name == "left out") return nullptr;
    auto open = openFolder(folder, parent);
    ::fstat(open->source.get(), &folder.facts);
    const std::lock_guard lock(record_.mutex);
    record_.unfinished.insert(walk_.pathOf(folder));
    return open;
  }
  std::shared_ptr<const OpenFolder> reopen(const WalkFolder& folder,
                                           const OpenFolder& parent) override {
    {
      const std::lock_guard lock(record_.mutex);
      ++record_.reopened;
    }
    return openFolder(folder, parent);
  }
  void visit(WalkFolder& folder, const OpenFolder&, const WalkEntry& entry) override {
    if (entry.type == DT_DIR) return walk_.descend(folder, entry.name);
    const std::lock_guard lock(record_.mutex);
    record_.entries.insert(walk_.pathOf(folder, entry.name));
  }
  void leave(WalkFolder& folder, const OpenFolder& open, const OpenFolder&) override {
    struct stat facts {};
    EXPECT_EQ(::fstat(open.source.get(), &facts), 0);
    EXPECT_EQ(facts.st_ino, folder.facts.st_ino);
    const std::lock_guard lock(record_.mutex);
    const std::string path = walk_.pathOf(folder);
    record_.unfinished.erase(path);
    const auto inside = record_.unfinished.lower_bound(path + "/");
    EXPECT_FALSE(inside != record_.unfinished.end() && inside->starts_with(path + "/"))
        << path << " was left before " << *inside;
    record_.entries.insert(path + "/");
  }

 private:
  std::shared_ptr<const OpenFolder> openFolder(const WalkFolder& folder, const OpenFolder& parent) {
    auto* const open = new OpenFolder;
    open->source =
        FileDescriptor(::openat(parent.source.get(), folder.name.c_str(), O_RDONLY | O_DIRECTORY));
    const std::lock_guard lock(record_.mutex);
    record_.mostOpen = std::max(record_.mostOpen, ++record_.open);
    return {open, [&record = record_](const OpenFolder* closing) {
              delete closing;
              const std::lock_guard lock(record.mutex);
              --record.open;
            }};
  }

  TreeWalk& walk_;
  Record& record_;
};

class TreeWalkTest : public testing::TransferFixture, public ::testing::WithParamInterface<int> {
 protected:
  void walk() {
    const OpenFolder base{FileDescriptor(::open(at("").c_str(), O_RDONLY | O_DIRECTORY)), {}};
    TreeWalk walk(control_, base, "tree", static_cast<std::size_t>(GetParam()));
    walk.run("tree", [this](TreeWalk& each) { return std::make_unique<Recorder>(each, record_); });
  }

  Record record_;
  TransferControl control_;
};

INSTANTIATE_TEST_SUITE_P(Threads, TreeWalkTest, ::testing::Values(1, 2, 4));

TEST_P(TreeWalkTest, MeetsAnEmptyTree) {
  makeFolder("tree");
  walk();
  EXPECT_EQ(record_.entries, std::multiset<std::string>{"tree/"});
}

TEST_P(TreeWalkTest, MeetsEverythingOnceAndLeavesFoldersLast) {
  std::multiset<std::string> expected = {"tree/"};
  for (int outer = 0; outer < 30; ++outer) {
    const std::string name = "tree/" + std::to_string(outer);
    for (int inner = 0; inner < 3; ++inner) {
      const std::string path = name + "/" + std::to_string(inner);
      makeFolder(path);
      write(path + "/file", "");
      expected.insert({path + "/", path + "/file"});
    }
    expected.insert(name + "/");
  }
  for (int file = 0; file < 4000; ++file) {
    expected.insert(write("tree/file " + std::to_string(file), "").substr(at("").size()));
  }
  walk();
  EXPECT_EQ(record_.entries, expected);
  EXPECT_EQ(record_.open, 0u);
}

TEST_P(TreeWalkTest, GoesIntoNothingThatIsLeftOut) {
  makeFolder("tree/left out/inner");
  makeFolder("tree/a");
  walk();
  EXPECT_EQ(record_.entries, (std::multiset<std::string>{"tree/", "tree/a/"}));
}

TEST_P(TreeWalkTest, HoldsFewFoldersOpenHoweverDeepTheTree) {
  std::string path = "tree";
  for (int level = 0; level < 400; ++level) {
    makeFolder(path + "/b");
    path += "/a";
    makeFolder(path);
  }
  walk();
  EXPECT_EQ(record_.entries.size(), 801u);
  EXPECT_LE(record_.mostOpen, 100u + 4 * 3);
  EXPECT_GT(record_.reopened, 0u);
  EXPECT_LT(record_.reopened, 20000u) << "reopening has become quadratic";
}

TEST_P(TreeWalkTest, StopsWhenTheControlStops) {
  for (int folder = 0; folder < 100; ++folder) makeFolder("tree/" + std::to_string(folder));
  control_.cancel();
  walk();
  EXPECT_TRUE(record_.entries.empty());
}

TEST_P(TreeWalkTest, FailsWhenAFolderThatIsOpenedAgainIsAnother) {
  std::string path = "tree";
  for (int level = 0; level < 300; ++level) path += "/a";
  makeFolder(path);
  class Swapper : public Recorder {
   public:
    Swapper(TreeWalk& walk, Record& record, std::string top)
        : Recorder(walk, record), top_(std::move(top)) {}
    void leave(WalkFolder& folder, const OpenFolder& open, const OpenFolder& parent) override {
      Recorder::leave(folder, open, parent);
      if (swapped_) return;
      swapped_ = true;
      std::filesystem::rename(top_ + "/a/a", top_ + "/elsewhere");
      std::filesystem::create_directory(top_ + "/a/a");
    }

   private:
    const std::string top_;
    bool swapped_ = false;
  };
  const OpenFolder base{FileDescriptor(::open(at("").c_str(), O_RDONLY | O_DIRECTORY)), {}};
  TreeWalk walk(control_, base, "tree", 1);
  walk.run("tree",
           [this](TreeWalk& each) { return std::make_unique<Swapper>(each, record_, at("tree")); });
  EXPECT_EQ(control_.error(), ENOENT);
  EXPECT_EQ(control_.failedItem(), "tree/a/a");
}

}  // namespace
}  // namespace kestova
