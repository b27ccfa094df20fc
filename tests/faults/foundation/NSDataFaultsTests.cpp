// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSError.h>
#include <sys/stat.h>

#include <filesystem>
#include <set>
#include <string>

#include "FileFaults.h"
#include "TemporaryFolder.h"

namespace kestova {
namespace {

using testing::FaultyCall;
using testing::FileFault;
using testing::MetCalls;
using testing::openDescriptors;
using testing::TemporaryFolder;
using testing::walkFileFaults;
using testing::walkHarmlessFaults;

const std::string kOld = "what was there";
const std::string kNew = "what takes its place";

Ref<NSData> dataOf(const std::string& text) {
  return NSData::dataWithBytes_length(text.data(), text.size());
}

std::string textOf(const Ref<NSData>& data) {
  return {reinterpret_cast<const char*>(data->span().data()), data->length()};
}

NSInteger writingCodeFor(int number) {
  switch (number) {
    case ENOSPC:
      return NSFileWriteOutOfSpaceError;
    case EACCES:
      return NSFileWriteNoPermissionError;
    default:
      return NSFileWriteUnknownError;
  }
}

int underlyingNumberOf(const Ref<NSError>& error) {
  const auto underlying = cast<NSError>(error->userInfo()->objectForKey(NSUnderlyingErrorKey));
  return underlying ? static_cast<int>(underlying->code()) : 0;
}

class NSDataFaultsTests : public ::testing::Test {
 protected:
  NSDataFaultsTests() { reset(); }

  void reset() {
    for (const auto& name : names()) std::filesystem::remove_all(folder_.at(name));
    folder_.write("f", kOld);
    ::chmod(folder_.at("f").c_str(), 0640);
    std::filesystem::create_symlink("f", folder_.at("link"));
    error_ = nullptr;
    descriptors_ = openDescriptors();
  }

  std::set<std::string> names() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
      names.insert(entry.path().filename());
    }
    return names;
  }

  void write(NSUInteger options, const std::string& name = "f") {
    succeeded_ = data_->writeToFile_options_error(path(name), options, &error_);
  }
  Ref<NSString> path(const std::string& name) const {
    return NSString::stringWithUTF8String(folder_.at(name));
  }

  unsigned permissions() const {
    return static_cast<unsigned>(std::filesystem::status(folder_.at("f")).permissions());
  }

  /// Remembers the call whose fault did no harm.
  void note(const FileFault* fault) {
    if (fault && succeeded_) survived_.insert(nameOf(fault->call));
  }

  void expectWritingError(const FileFault* fault) const {
    ASSERT_NE(fault, nullptr);
    ASSERT_NE(error_, nullptr);
    EXPECT_TRUE(error_->domain()->isEqual(NSCocoaErrorDomain));
    EXPECT_EQ(error_->code(), writingCodeFor(fault->error));
    EXPECT_EQ(underlyingNumberOf(error_), fault->error);
  }

  TemporaryFolder folder_;
  Ref<NSData> data_ = dataOf(kNew);
  Ref<NSError> error_;
  bool succeeded_ = false;
  MetCalls survived_;
  std::ptrdiff_t descriptors_ = 0;
};

// However it goes, the name stands for all of the old or all of the new contents. That the new file
// can't have the old one's owner is no failure.
TEST_F(NSDataFaultsTests, AtomicWritingReplacesAllOrNothing) {
  const auto met = walkFileFaults([&] { write(NSDataWritingAtomic, "link"); },
                                  [&](const FileFault* fault) {
                                    EXPECT_EQ(openDescriptors(), descriptors_);
                                    EXPECT_EQ(folder_.read("f"), succeeded_ ? kNew : kOld);
                                    EXPECT_EQ(permissions(), 0640U);
                                    EXPECT_TRUE(std::filesystem::is_symlink(folder_.at("link")));
                                    EXPECT_EQ(names(), (std::set<std::string>{"f", "link"}));
                                    if (!succeeded_) expectWritingError(fault);
                                    note(fault);
                                    reset();
                                  });
  EXPECT_EQ(met, (MetCalls{"close", "fchmod", "fchown", "fdatasync", "openat", "realpath",
                           "renameat2", "stat", "write"}));
  EXPECT_EQ(survived_, MetCalls{"fchown"});
}

TEST_F(NSDataFaultsTests, AtomicWritingOfANewFileMakesItWholeOrNotAtAll) {
  walkFileFaults([&] { write(NSDataWritingAtomic, "new"); },
                 [&](const FileFault* fault) {
                   EXPECT_EQ(openDescriptors(), descriptors_);
                   EXPECT_EQ(succeeded_, fault == nullptr);
                   EXPECT_EQ(names().contains("new"), succeeded_);
                   EXPECT_EQ(names().size(), succeeded_ ? 3U : 2U);
                   EXPECT_EQ(folder_.read("new"), succeeded_ ? kNew : "");
                   if (!succeeded_) expectWritingError(fault);
                   reset();
                 });
}

TEST_F(NSDataFaultsTests, WritingWithoutOverwritingLeavesNothingBehindThatFailed) {
  const auto met = walkFileFaults([&] { write(NSDataWritingWithoutOverwriting, "new"); },
                                  [&](const FileFault* fault) {
                                    EXPECT_EQ(openDescriptors(), descriptors_);
                                    EXPECT_EQ(succeeded_, fault == nullptr);
                                    EXPECT_EQ(names().contains("new"), succeeded_);
                                    if (!succeeded_) expectWritingError(fault);
                                    reset();
                                  });
  EXPECT_EQ(met, (MetCalls{"close", "openat", "write"}));
}

TEST_F(NSDataFaultsTests, WritingInPlaceTellsThatItFailedAndMakesNoOtherFile) {
  const auto met =
      walkFileFaults([&] { write(0); },
                     [&](const FileFault* fault) {
                       EXPECT_EQ(openDescriptors(), descriptors_);
                       EXPECT_EQ(succeeded_, fault == nullptr);
                       EXPECT_EQ(names(), (std::set<std::string>{"f", "link"}));
                       const bool isOpened = !fault || fault->call != FaultyCall::openat;
                       const bool isWritten = !fault || fault->call == FaultyCall::close;
                       EXPECT_EQ(folder_.read("f"), isWritten ? kNew : isOpened ? "" : kOld);
                       if (!succeeded_) expectWritingError(fault);
                       reset();
                     });
  EXPECT_EQ(met, (MetCalls{"close", "openat", "write"}));
}

TEST_F(NSDataFaultsTests, ShortAndInterruptedCallsDoNotShowInWhatIsWritten) {
  for (const NSUInteger options : {NSUInteger{0}, NSUInteger{NSDataWritingAtomic}}) {
    const auto met = walkHarmlessFaults([&] { write(options); },
                                        [&] {
                                          EXPECT_TRUE(succeeded_);
                                          EXPECT_EQ(folder_.read("f"), kNew);
                                          EXPECT_EQ(openDescriptors(), descriptors_);
                                          reset();
                                        });
    EXPECT_TRUE(met.contains("openat"));
    EXPECT_TRUE(met.contains("write"));
    EXPECT_EQ(met.contains("fdatasync"), options == NSDataWritingAtomic);
  }
}

TEST_F(NSDataFaultsTests, ReadingIsCompleteOrTellsWhyNot) {
  Ref<NSData> data;
  const auto met = walkFileFaults(
      [&] { data = NSData::dataWithContentsOfFile_options_error(path("f"), 0, &error_); },
      [&](const FileFault* fault) {
        EXPECT_EQ(openDescriptors(), descriptors_);
        succeeded_ = data != nullptr;
        note(fault);
        if (succeeded_) {
          EXPECT_EQ(textOf(data), kOld);
        } else {
          ASSERT_NE(error_, nullptr);
          EXPECT_EQ(error_->code(), NSFileReadUnknownError);
          ASSERT_NE(fault, nullptr);
          EXPECT_EQ(underlyingNumberOf(error_), fault->error);
        }
        reset();
      });
  EXPECT_EQ(met, (MetCalls{"close", "fstat", "openat", "read"}));
  EXPECT_EQ(survived_, (MetCalls{"close", "fstat"}));
}

TEST_F(NSDataFaultsTests, ShortAndInterruptedCallsDoNotShowInWhatIsRead) {
  const std::string text(200'000, 'x');
  folder_.write("large", text);
  Ref<NSData> data;
  const auto met = walkHarmlessFaults([&] { data = NSData::dataWithContentsOfFile(path("large")); },
                                      [&] {
                                        ASSERT_NE(data, nullptr);
                                        EXPECT_EQ(textOf(data), text);
                                      });
  EXPECT_EQ(met, (MetCalls{"openat", "read"}));
}

// A list is written as the data that it is made into, and only its own answer tells.
TEST_F(NSDataFaultsTests, PropertyListsAreReplacedAsAWhole) {
  const auto list = NSDictionary::of({{"answer", 42}});
  walkFileFaults([&] { succeeded_ = list->writeToFile_atomically(path("f"), true); },
                 [&](const FileFault*) {
                   const auto found = NSDictionary::dictionaryWithContentsOfFile(path("f"));
                   EXPECT_EQ(found && found->isEqual(list), succeeded_);
                   EXPECT_EQ(folder_.read("f") == kOld, !succeeded_);
                   EXPECT_EQ(names(), (std::set<std::string>{"f", "link"}));
                   reset();
                 });
}

}  // namespace
}  // namespace kestova
