// SPDX-License-Identifier: Apache-2.0
#include "files/FileTransfer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>

#include "ChildProcess.h"
#include "Faults.h"
#include "ScriptedFileSystemCalls.h"
#include "TransferFixture.h"
#include "files/MovedSource.h"
#include "files/TransferEndpoints.h"

namespace kestova {
namespace {

using testing::ArmedFault;
using testing::Fault;
using testing::FaultyCall;
using testing::FaultyThreads;
using testing::walkFaults;

class FileTransferFaults : public testing::TransferFixture {
 protected:
  /// Lets each call of the kind that `attempt` makes fail; `status` is what it answers then, and
  /// nothing has changed.
  template <typename Attempt>
  int expectRefusals(FaultyCall call, int error, OSStatus status, Attempt attempt) {
    OSStatus found = noErr;
    return walkFaults(
        call, Fault::failing(error), FaultyThreads::all, [&] { found = attempt(); },
        [&](bool isMet) { EXPECT_EQ(found, isMet ? status : noErr); });
  }
  OSStatus open(const TransferRequest& request) {
    TransferEndpoints ends;
    return ends.open(request);
  }
};

TEST_F(FileTransferFaults, WhatMayGoIntoItselfIsRefused) {
  makeFolder("tree");
  makeFolder("into/deeper");
  const TransferRequest folder = request(TransferKind::copy, "tree", "copy");
  EXPECT_GT(expectRefusals(FaultyCall::fstat, EIO, ioErr, [&] { return open(folder); }), 3);
  write("into/deeper/file", "text");
  const TransferRequest file =
      request(TransferKind::copy, "into/deeper/file", "other", kTransferOverwrite);
  makeFolder("into/other");
  EXPECT_GT(expectRefusals(FaultyCall::fstat, EIO, ioErr, [&] { return open(file); }), 3);
}

TEST_F(FileTransferFaults, WhatHasTheNewNameIsNotTakenForNothing) {
  for (const bool replacesFolder : {false, true}) {
    SCOPED_TRACE(replacesFolder);
    OSStatus status = noErr;
    walkFaults(
        FaultyCall::fstatat, Fault::failing(EIO), FaultyThreads::all,
        [&] {
          write("a", "new");
          if (replacesFolder) {
            makeFolder("into/b/old");
          } else {
            write("into/b", "old");
          }
          status = move("a", "b", kTransferOverwrite);
        },
        [&](bool) {
          const bool isMoved = status == noErr;
          EXPECT_EQ(exists("a"), !isMoved);
          EXPECT_EQ(exists("into/b/old"), replacesFolder && !isMoved);
          EXPECT_TRUE(exists("into/b/old") || read("into/b") == (isMoved ? "new" : "old"));
          std::filesystem::remove_all(at("a"));
          std::filesystem::remove_all(at("into"));
          makeFolder("into");
        });
  }
}

TEST_F(FileTransferFaults, AFurtherLinkIsNeverTheLastOne) {
  const auto links = [&] { return (exists("a") ? 1 : 0) + (exists("into/b") ? 1 : 0); };
  OSStatus status = noErr;
  const int refused = walkFaults(
      FaultyCall::fstat, Fault::failing(EIO), FaultyThreads::all,
      [&] {
        write("a", "text");
        std::filesystem::remove(at("into/b"));
        std::filesystem::create_hard_link(at("a"), at("into/b"));
        status = move("a", "b", kTransferOverwrite);
      },
      [&](bool isMet) {
        EXPECT_EQ(status, isMet ? ioErr : noErr);
        EXPECT_EQ(links(), isMet ? 2 : 1);
        EXPECT_EQ(read("into/b"), "text");
      });
  EXPECT_EQ(refused, 2);
}

/// An ordinary user renames a folder only with the right to write, so the copy of one that lacks it
/// loses it last of all.
class ReadOnlyFolderFaults : public FileTransferFaults {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "becoming another user needs root";
    makeFolder("tree");
    ASSERT_EQ(::chmod(at("tree").c_str(), 0555), 0);
    for (const char* name : {"", "into", "tree"}) {
      ASSERT_EQ(::chown(at(name).c_str(), 65534, 65534), 0);
    }
  }

  /// As nobody lets each change of a mode fail in turn. How many times the attempt was refused for
  /// it with the source still there; 0 where one was not, or left another mode.
  template <typename Attempt>
  int refusals(Attempt attempt) {
    return testing::runAsNobody([&] {
      OSStatus status = noErr;
      bool isRight = true;
      const int refused = walkFaults(
          FaultyCall::fchmod, Fault::failing(EIO), FaultyThreads::all, [&] { status = attempt(); },
          [&](bool isMet) {
            isRight = isRight && (isMet ? status == ioErr && exists("tree")
                                        : status == noErr && modeOfCopy() == 0555);
            std::filesystem::remove_all(at("into/copy"));
          });
      return isRight ? refused : 0;
    });
  }

  mode_t modeOfCopy() const { return facts("into/copy").st_mode & 0777; }
};

TEST_F(ReadOnlyFolderFaults, ACopyThatDoesNotGetItsModeHasFailed) {
  EXPECT_EQ(refusals([&] { return copy("tree", "copy"); }), 3);
}

TEST_F(ReadOnlyFolderFaults, AMoveThatDoesNotGetItsModeLeavesTheSource) {
  testing::ScriptedFileSystemCalls calls;
  calls.onRename = [](const std::string& from, const std::string&, unsigned) {
    return from == "tree" ? std::optional(testing::ScriptedFileSystemCalls::failure(EXDEV))
                          : std::nullopt;
  };
  EXPECT_EQ(refusals([&] { return move("tree", "copy"); }), 3);
}

/// A source `a` whose complete copy is `into/copy`, to be removed.
class MovedSourceFaults : public FileTransferFaults {
 protected:
  void prepare() {
    std::filesystem::remove_all(at("a"));
    std::filesystem::remove_all(at("into/copy"));
    makeFolder("a/inner");
    write("a/file", "text");
    write("a/inner/file", "text");
    EXPECT_EQ(copy("a", "copy"), noErr);
    ends_ = TransferEndpoints();
    EXPECT_EQ(ends_.open(request(TransferKind::move, "a", "copy", kTransferOverwrite)), noErr);
  }
  void remove() {
    TransferControl control;
    removeMovedSource(control, ends_, true);
    error_ = control.error();
  }

  TransferEndpoints ends_;
  int error_ = 0;
};

TEST_F(MovedSourceFaults, WhatCannotBeLookedAtStaysAndTheReasonIsTold) {
  prepare();
  const int refused = walkFaults(
      FaultyCall::fstatat, Fault::failing(EIO), FaultyThreads::all, [&] { remove(); },
      [&](bool isMet) {
        EXPECT_EQ(error_, isMet ? EIO : 0);
        EXPECT_EQ(exists("a"), isMet);
        EXPECT_EQ(read("into/copy/inner/file"), "text");
        prepare();
      });
  EXPECT_GT(refused, 4);
}

// Only what is known to be unreadable was left out on purpose.
TEST_F(MovedSourceFaults, WhatCameAfterwardsIsNotTakenForUnreadable) {
  prepare();
  write("a/new", "new");
  const ArmedFault fault(FaultyCall::faccessat, 1, Fault::failing(EIO), FaultyThreads::all);
  remove();
  EXPECT_TRUE(fault.wasMet());
  EXPECT_EQ(error_, EBUSY);
  EXPECT_EQ(read("a/new"), "new");
}

}  // namespace
}  // namespace kestova
