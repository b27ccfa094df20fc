// SPDX-License-Identifier: Apache-2.0
#include "files/FileContent.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

#include "MountedTmpfs.h"
#include "ScriptedFileSystemCalls.h"
#include "TransferFixture.h"

namespace kestova {
namespace {

using testing::ScriptedFileSystemCalls;

constexpr std::size_t kMiB = 1024 * 1024;

/// Bytes none of whose parts can be taken for another.
std::string patterned(std::size_t size) {
  std::string text(size, '\0');
  std::uint64_t state = 12345;
  for (std::size_t place = 0; place < size; place += sizeof state) {
    state = state * 6364136223846793005 + 1442695040888963407;
    std::memcpy(text.data() + place, &state, std::min(sizeof state, size - place));
  }
  return text;
}

class FileContentTest : public testing::TransferFixture {
 protected:
  FileContentTest() {
    calls_.onClone = [this] {
      ++clones_;
      return std::optional(ScriptedFileSystemCalls::failure(EOPNOTSUPP));
    };
  }

  /// Copies a file with that content and answers the error; the copy is "copy".
  int copyContent(const std::string& content, bool preallocates = true) {
    write("source", content);
    return copyFile("source", preallocates);
  }
  int copyFile(const std::string& name, bool preallocates = true) {
    const FileDescriptor source(::open(at(name).c_str(), O_RDONLY));
    const FileDescriptor target(::open(at("copy").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644));
    struct stat facts {};
    ::fstat(source.get(), &facts);
    observed_ = 0;
    FileContent content(preallocates);
    return content.copy(source.get(), target.get(), facts, [this](std::uint64_t bytes) {
      return observed_.fetch_add(bytes) + bytes < stopAfter_;
    });
  }
  /// Makes a hook that answers one error on its n-th call, counting from 1.
  static auto failingAt(int call, int error) {
    return [call, error, count = 0](auto...) mutable -> std::optional<ssize_t> {
      if (++count != call) return std::nullopt;
      return ScriptedFileSystemCalls::failure(error);
    };
  }
  void expectCopied(const std::string& content) {
    EXPECT_TRUE(read("copy") == content) << "the copy differs";
    EXPECT_EQ(observed_, content.size());
  }

  ScriptedFileSystemCalls calls_;
  int clones_ = 0;
  std::atomic<std::uint64_t> observed_ = 0;
  std::uint64_t stopAfter_ = UINT64_MAX;
};

TEST_F(FileContentTest, CopiesFilesOfSizesAroundEveryLimit) {
  for (const std::size_t limit :
       {std::size_t{0}, std::size_t{4096}, 64 * 1024ul, 256 * 1024ul, kMiB, 3 * kMiB}) {
    for (const std::size_t size : {limit, limit + 1, limit - std::min(limit, std::size_t{1})}) {
      const std::string content = patterned(size);
      ASSERT_EQ(copyContent(content), 0) << size;
      expectCopied(content);
    }
  }
}

TEST_F(FileContentTest, CopiesWithoutPreallocating) {
  calls_.onAllocate = [](off_t, off_t) -> std::optional<int> {
    ADD_FAILURE() << "preallocates";
    return 0;
  };
  const std::string content = patterned(3 * kMiB + 17);
  EXPECT_EQ(copyContent(content, false), 0);
  expectCopied(content);
}

TEST_F(FileContentTest, CopiesWhereNothingCanBePreallocated) {
  calls_.onAllocate = [](off_t, off_t) {
    return std::optional(ScriptedFileSystemCalls::failure(EOPNOTSUPP));
  };
  const std::string content = patterned(2 * kMiB + 5);
  EXPECT_EQ(copyContent(content), 0);
  expectCopied(content);
}

TEST_F(FileContentTest, FailsBeforeCopyingWhereTheRoomCannotBeHad) {
  calls_.onAllocate = [](off_t, off_t) {
    return std::optional(ScriptedFileSystemCalls::failure(ENOSPC));
  };
  EXPECT_EQ(copyContent(patterned(2 * kMiB)), ENOSPC);
  EXPECT_EQ(observed_, 0u);
}

TEST_F(FileContentTest, ContinuesShortReadsAndWrites) {
  calls_.onSplice = [](int, int, std::size_t*) {
    return std::optional<ssize_t>(ScriptedFileSystemCalls::failure(EINVAL));
  };
  calls_.onCopyRange = [](std::size_t*) {
    return std::optional<ssize_t>(ScriptedFileSystemCalls::failure(EXDEV));
  };
  const auto shorten = [](int, std::size_t* size, off_t) -> std::optional<ssize_t> {
    *size = std::min(*size, std::size_t{70001});
    return std::nullopt;
  };
  calls_.onRead = shorten;
  calls_.onWrite = [](int, std::size_t* size, off_t) -> std::optional<ssize_t> {
    *size = std::min(*size, std::size_t{30011});
    return std::nullopt;
  };
  for (const std::size_t size : {200 * 1024ul, 2 * kMiB + 3}) {
    const std::string content = patterned(size);
    ASSERT_EQ(copyContent(content), 0);
    expectCopied(content);
  }
}

TEST_F(FileContentTest, ContinuesShortMovesThroughThePipe) {
  calls_.onSplice = [](int, int, std::size_t* size) -> std::optional<ssize_t> {
    *size = std::min(*size, std::size_t{12345});
    return std::nullopt;
  };
  const std::string content = patterned(2 * kMiB + 3);
  EXPECT_EQ(copyContent(content), 0);
  expectCopied(content);
}

TEST_F(FileContentTest, RepeatsInterruptedCalls) {
  const auto interruptEveryOther = [](auto&... counters) {
    return [&counters...](auto...) -> std::optional<ssize_t> {
      if ((++(counters, ...)) % 2 == 0) return std::nullopt;
      return ScriptedFileSystemCalls::failure(EINTR);
    };
  };
  int reads = 0;
  int writes = 0;
  int splices = 0;
  calls_.onRead = interruptEveryOther(reads);
  calls_.onWrite = interruptEveryOther(writes);
  calls_.onSplice = interruptEveryOther(splices);
  for (const std::size_t size : {1000ul, 2 * kMiB}) {
    const std::string content = patterned(size);
    ASSERT_EQ(copyContent(content), 0);
    expectCopied(content);
  }
  EXPECT_GT(reads, 0);
  EXPECT_GT(writes, 0);
  EXPECT_GT(splices, 0);
}

TEST_F(FileContentTest, FallsBackFromThePipeToTheKernelsCopy) {
  calls_.onSplice = [](int, int, std::size_t*) {
    return std::optional<ssize_t>(ScriptedFileSystemCalls::failure(EINVAL));
  };
  int ranges = 0;
  calls_.onCopyRange = [&](std::size_t*) -> std::optional<ssize_t> {
    ++ranges;
    return std::nullopt;
  };
  const std::string content = patterned(3 * kMiB);
  EXPECT_EQ(copyContent(content), 0);
  expectCopied(content);
  EXPECT_EQ(ranges, 3);
}

TEST_F(FileContentTest, LosesNothingWhenThePipeCannotBeDrained) {
  int drains = 0;
  calls_.onSplice = [&](int, int out, std::size_t* size) -> std::optional<ssize_t> {
    struct stat facts {};
    ::fstat(out, &facts);
    if (S_ISFIFO(facts.st_mode)) return std::nullopt;
    if (++drains == 3) return ScriptedFileSystemCalls::failure(EINVAL);
    *size = std::min(*size, std::size_t{100000});
    return std::nullopt;
  };
  const std::string content = patterned(3 * kMiB);
  EXPECT_EQ(copyContent(content), 0);
  expectCopied(content);
}

TEST_F(FileContentTest, FallsBackToReadingWhenTheKernelCannotCopy) {
  calls_.onSplice = [](int, int, std::size_t*) {
    return std::optional<ssize_t>(ScriptedFileSystemCalls::failure(ENOSYS));
  };
  for (const int error : {EXDEV, EINVAL, EOPNOTSUPP, ENOSYS}) {
    calls_.onCopyRange = [&](std::size_t*) {
      return std::optional<ssize_t>(ScriptedFileSystemCalls::failure(error));
    };
    const std::string content = patterned(2 * kMiB);
    EXPECT_EQ(copyContent(content), 0) << error;
    expectCopied(content);
  }
}

TEST_F(FileContentTest, DoesNotTakeAZeroAnswerForTheEnd) {
  calls_.onSplice = [](int, int, std::size_t*) { return std::optional<ssize_t>(0); };
  const std::string content = patterned(2 * kMiB);
  EXPECT_EQ(copyContent(content), 0);
  expectCopied(content);
}

TEST_F(FileContentTest, PassesErrorsOfReadingAndWritingOn) {
  for (const int error : {EIO, ENOSPC, EDQUOT, EFBIG}) {
    calls_.onWrite = failingAt(1, error);
    EXPECT_EQ(copyContent(patterned(1000)), error);
    calls_.onWrite = nullptr;
    calls_.onRead = failingAt(1, error);
    EXPECT_EQ(copyContent(patterned(1000)), error);
    calls_.onRead = nullptr;
    calls_.onSplice = failingAt(4, error);
    EXPECT_EQ(copyContent(patterned(3 * kMiB)), error);
    calls_.onSplice = nullptr;
  }
}

TEST_F(FileContentTest, CopiesFilesThatDoNotTellTheirSize) {
  const FileDescriptor source(::open("/proc/self/status", O_RDONLY));
  const FileDescriptor target(::open(at("copy").c_str(), O_WRONLY | O_CREAT, 0644));
  struct stat facts {};
  ASSERT_EQ(::fstat(source.get(), &facts), 0);
  ASSERT_EQ(facts.st_size, 0);
  FileContent content(true);
  EXPECT_EQ(content.copy(source.get(), target.get(), facts, [](std::uint64_t) { return true; }), 0);
  EXPECT_EQ(read("copy").substr(0, 5), "Name:");
}

TEST_F(FileContentTest, EndsWhereAFileHasBecomeShorter) {
  const std::string content = patterned(3 * kMiB);
  int moves = 0;
  calls_.onSplice = [&](int, int, std::size_t*) -> std::optional<ssize_t> {
    if (++moves == 3) std::filesystem::resize_file(at("source"), kMiB + 1000);
    return std::nullopt;
  };
  EXPECT_EQ(copyContent(content), 0);
  EXPECT_TRUE(read("copy") == content.substr(0, kMiB + 1000));
  EXPECT_EQ(observed_, kMiB + 1000);
}

TEST_F(FileContentTest, CopiesAGrowingFileUpToItsSizeWhenOpened) {
  const std::string content = patterned(3 * kMiB);
  bool grown = false;
  calls_.onSplice = [&](int, int, std::size_t*) -> std::optional<ssize_t> {
    if (!grown) std::ofstream(at("source"), std::ios::app) << "more";
    grown = true;
    return std::nullopt;
  };
  EXPECT_EQ(copyContent(content), 0);
  expectCopied(content);
}

TEST_F(FileContentTest, StopsWhenTheObserverSaysSo) {
  stopAfter_ = 2 * kMiB;
  EXPECT_EQ(copyContent(patterned(10 * kMiB)), ECANCELED);
  EXPECT_LT(observed_, 5 * kMiB);
}

TEST_F(FileContentTest, KeepsHolesOfAllPatterns) {
  const std::size_t kStep = 64 * 1024;
  for (const std::string pattern : {"d-", "-d", "-d-", "d-d", "--------", "-d--dd---d-"}) {
    std::filesystem::remove(at("source"));
    write("source", "");
    std::filesystem::resize_file(at("source"), pattern.size() * kStep);
    std::fstream file(at("source"), std::ios::in | std::ios::out | std::ios::binary);
    for (std::size_t each = 0; each < pattern.size(); ++each) {
      if (pattern[each] == 'd') file.seekp(static_cast<long>(each * kStep)) << patterned(kStep);
    }
    file.close();
    ASSERT_EQ(copyFile("source"), 0) << pattern;
    expectCopied(read("source"));
    EXPECT_LE(facts("copy").st_blocks, facts("source").st_blocks) << pattern;
  }
}

TEST_F(FileContentTest, CopiesALargeFileInPiecesThatFitTogether) {
  for (const bool preallocates : {true, false}) {
    const std::string content = patterned(40 * kMiB + 12345);
    ASSERT_EQ(copyContent(content, preallocates), 0);
    expectCopied(content);
  }
}

TEST_F(FileContentTest, PassesAnErrorInAnyPieceOfALargeFileOn) {
  for (const int nth : {1, 2, 3, 40, 77}) {
    std::atomic<int> moves = 0;
    calls_.onSplice = [&](int, int, std::size_t*) -> std::optional<ssize_t> {
      if (++moves != nth) return std::nullopt;
      return ScriptedFileSystemCalls::failure(EIO);
    };
    EXPECT_EQ(copyContent(patterned(40 * kMiB)), EIO) << nth;
  }
}

TEST_F(FileContentTest, StopsALargeFileWhenTheObserverSaysSo) {
  stopAfter_ = 5 * kMiB;
  EXPECT_EQ(copyContent(patterned(40 * kMiB)), ECANCELED);
  EXPECT_LT(observed_, 10 * kMiB);
}

TEST_F(FileContentTest, EndsWhereALargeFileHasBecomeShorter) {
  const std::string content = patterned(40 * kMiB);
  std::atomic<int> moves = 0;
  calls_.onSplice = [&](int, int, std::size_t*) -> std::optional<ssize_t> {
    if (++moves == 9) std::filesystem::resize_file(at("source"), 20 * kMiB + 1000);
    return std::nullopt;
  };
  EXPECT_EQ(copyContent(content), 0);
  EXPECT_TRUE(read("copy") == content.substr(0, 20 * kMiB + 1000));
  EXPECT_EQ(observed_, 20 * kMiB + 1000);
}

TEST_F(FileContentTest, AsksOncePerVolumeWhetherBlocksCanBeShared) {
  write("source", "text");
  FileContent content(true);
  for (int each = 0; each < 3; ++each) {
    const FileDescriptor source(::open(at("source").c_str(), O_RDONLY));
    const FileDescriptor target(::open(at("copy").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644));
    struct stat facts {};
    ::fstat(source.get(), &facts);
    EXPECT_EQ(content.copy(source.get(), target.get(), facts, [](std::uint64_t) { return true; }),
              0);
  }
  EXPECT_EQ(clones_, 1);
}

TEST_F(FileContentTest, CountsAllBytesOfSharedBlocksAtOnce) {
  calls_.onClone = [] { return std::optional(0); };
  calls_.onRead = [](int, std::size_t*, off_t) -> std::optional<ssize_t> {
    ADD_FAILURE() << "reads what is shared";
    return std::nullopt;
  };
  EXPECT_EQ(copyContent(patterned(1000)), 0);
  EXPECT_EQ(observed_, 1000u);
}

TEST_F(FileContentTest, CopiesBetweenVolumes) {
  const testing::MountedTmpfs other(at("other"), "size=8m");
  if (!other.isMounted()) GTEST_SKIP() << "mounting needs root";
  const std::string content = patterned(3 * kMiB + 1);
  write("other/source", content);
  EXPECT_EQ(copyFile("other/source"), 0);
  expectCopied(content);
}

}  // namespace
}  // namespace kestova
