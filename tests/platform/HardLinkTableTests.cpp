// SPDX-License-Identifier: Apache-2.0
#include "files/HardLinkTable.h"

#include <atomic>
#include <optional>
#include <thread>

#include "ScriptedFileSystemCalls.h"
#include "TransferFixture.h"

namespace kestova {
namespace {

using testing::ScriptedFileSystemCalls;
using Answer = HardLinkTable::Answer;

class HardLinkTableTest : public testing::TransferFixture {
 protected:
  HardLinkTableTest()
      : folder_(::open(at("into").c_str(), O_RDONLY | O_DIRECTORY)),
        table_(folder_.get(), "links") {
    facts_.st_dev = 1;
    facts_.st_ino = 2;
    facts_.st_nlink = 3;
  }
  Answer link(const char* name) { return table_.link(facts_, folder_.get(), name); }
  void publish(const char* name) { table_.publish(facts_, folder_.get(), name); }

  struct stat facts_ {};
  FileDescriptor folder_;
  HardLinkTable table_;
};

TEST_F(HardLinkTableTest, TheFirstIsCopiedAndTheOthersAreLinked) {
  EXPECT_EQ(link("a"), Answer::first);
  write("into/a", "text");
  publish("a");
  EXPECT_EQ(link("b"), Answer::linked);
  EXPECT_EQ(link("c"), Answer::linked);
  EXPECT_EQ(facts("into/a").st_ino, facts("into/c").st_ino);
  EXPECT_EQ(facts("into/a").st_nlink, 3u) << "the extra link has not become the last one";
  EXPECT_TRUE(list("into/links").empty());
}

TEST_F(HardLinkTableTest, AnotherIsFirstWhenTheFirstGivesUp) {
  EXPECT_EQ(link("a"), Answer::first);
  table_.abandon(facts_);
  EXPECT_EQ(link("b"), Answer::first);
}

TEST_F(HardLinkTableTest, FilesBecomeSeparateWhereThereAreNoLinks) {
  ScriptedFileSystemCalls calls;
  calls.onLink = [](const std::string&, const std::string&) {
    return std::optional(ScriptedFileSystemCalls::failure(EPERM));
  };
  EXPECT_EQ(link("a"), Answer::first);
  write("into/a", "text");
  publish("a");
  EXPECT_EQ(link("b"), Answer::first);
}

TEST_F(HardLinkTableTest, AFileIsAloneWhenThereMayBeNoMoreLinks) {
  EXPECT_EQ(link("a"), Answer::first);
  write("into/a", "text");
  publish("a");
  ScriptedFileSystemCalls calls;
  calls.onLink = [](const std::string&, const std::string&) {
    return std::optional(ScriptedFileSystemCalls::failure(EMLINK));
  };
  EXPECT_EQ(link("b"), Answer::alone);
}

TEST_F(HardLinkTableTest, OthersWaitForTheFirst) {
  EXPECT_EQ(link("a"), Answer::first);
  std::atomic<bool> published = false;
  std::thread other([&] {
    EXPECT_EQ(link("b"), Answer::linked);
    EXPECT_TRUE(published);
  });
  write("into/a", "text");
  published = true;
  publish("a");
  other.join();
}

}  // namespace
}  // namespace kestova
