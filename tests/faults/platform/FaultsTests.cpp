// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "TemporaryFolder.h"

namespace kestova::testing {
namespace {

TEST(FaultsTests, LetsTheNthCallFail) {
  const ArmedFault fault(FaultyCall::access, 2, Fault::failing(EIO));
  EXPECT_EQ(::access("/", F_OK), 0);
  EXPECT_FALSE(fault.wasMet());
  EXPECT_EQ(fault.calls(), 1);
  EXPECT_EQ(::access("/", F_OK), -1);
  EXPECT_EQ(errno, EIO);
  EXPECT_TRUE(fault.wasMet());
  EXPECT_EQ(fault.calls(), 2);
  EXPECT_EQ(::access("/", F_OK), 0);
}

TEST(FaultsTests, LetsAllFurtherCallsFailIfAskedTo) {
  const ArmedFault fault(FaultyCall::access, 2, Fault::failingFromNowOn(EIO));
  EXPECT_EQ(::access("/", F_OK), 0);
  EXPECT_EQ(::access("/", F_OK), -1);
  EXPECT_EQ(::access("/", F_OK), -1);
}

TEST(FaultsTests, EndsWithTheScope) {
  { const ArmedFault fault(FaultyCall::access, 1, Fault::failing(EIO)); }
  EXPECT_EQ(::access("/", F_OK), 0);
}

TEST(FaultsTests, IsOverWhenDisarmedAndStillKnowsWhetherItWasMet) {
  ArmedFault fault(FaultyCall::access, 1, Fault::failingFromNowOn(EIO));
  EXPECT_EQ(::access("/", F_OK), -1);
  fault.disarm();
  EXPECT_EQ(::access("/", F_OK), 0);
  EXPECT_TRUE(fault.wasMet());
}

TEST(FaultsTests, RefusesASecondFaultOfOneKind) {
  const ArmedFault fault(FaultyCall::access, 1, Fault::failing(EIO));
  EXPECT_THROW(ArmedFault(FaultyCall::access, 1, Fault::failing(EIO)), std::logic_error);
  EXPECT_NO_THROW(ArmedFault(FaultyCall::open, 1, Fault::failing(EIO)));
}

TEST(FaultsTests, MovesHalfOfTheBytes) {
  const TemporaryFolder folder;
  const int file = ::open(folder.write("f", "12345678").c_str(), O_RDWR);
  char bytes[8] = {};
  {
    const ArmedFault fault(FaultyCall::read, 1, Fault::shortened());
    EXPECT_EQ(::read(file, bytes, 8), 4);
  }
  {
    const ArmedFault fault(FaultyCall::pwrite, 1, Fault::shortened());
    EXPECT_EQ(::pwrite(file, "a", 1, 0), 1);
  }
  EXPECT_EQ(folder.read("f"), "a2345678");
  ::close(file);
}

TEST(FaultsTests, ClosesAndSaysThatItFailed) {
  const auto before = openDescriptors();
  const int file = ::open("/dev/null", O_RDONLY);
  EXPECT_EQ(openDescriptors(), before + 1);
  const ArmedFault fault(FaultyCall::close, 1, Fault::failing(EIO));
  EXPECT_EQ(::close(file), -1);
  EXPECT_EQ(openDescriptors(), before);
}

TEST(FaultsTests, AnswersNothingWhereAnAddressIsAskedFor) {
  const ArmedFault fault(FaultyCall::opendir, 1, Fault::failing(EMFILE));
  EXPECT_EQ(::opendir("/"), nullptr);
  EXPECT_EQ(errno, EMFILE);
}

// Expressions with `new` may be left out where nobody looks at what they make.
TEST(FaultsTests, LetsAllocationsFail) {
  const ArmedFault fault(FaultyCall::allocation, 2, Fault::failing(ENOMEM));
  void* const first = ::operator new(1);
  EXPECT_THROW((void)::operator new(1), std::bad_alloc);
  void* const third = ::operator new(1);
  EXPECT_NE(third, nullptr);
  ::operator delete(first);
  ::operator delete(third);
}

TEST(FaultsTests, MeetsCallsOfItsOwnThreadOnlyOrThoseOfAll) {
  const auto askElsewhere = [] {
    int answer = 1;
    std::thread([&] { answer = ::access("/", F_OK); }).join();
    return answer;
  };
  {
    const ArmedFault fault(FaultyCall::access, 1, Fault::failing(EIO));
    EXPECT_EQ(askElsewhere(), 0);
    EXPECT_FALSE(fault.wasMet());
  }
  const ArmedFault fault(FaultyCall::access, 1, Fault::failing(EIO), FaultyThreads::all);
  EXPECT_EQ(askElsewhere(), -1);
  EXPECT_TRUE(fault.wasMet());
}

TEST(FaultsTests, WalksFromCallToCallUntilARunMeetsNone) {
  std::vector<std::string> runs;
  std::string run;
  const int met = walkFaults(
      FaultyCall::access, Fault::failing(EIO), FaultyThreads::own,
      [&] {
        run.clear();
        for (int step = 0; step < 3; ++step) run += ::access("/", F_OK) == 0 ? "+" : "-";
      },
      [&](bool fails) { runs.push_back(run + (fails ? " met" : "")); });
  EXPECT_EQ(met, 3);
  EXPECT_EQ(runs, (std::vector<std::string>{"-++ met", "+-+ met", "++- met", "+++"}));
}

TEST(FaultsTests, TellsTheNameOfACall) {
  EXPECT_STREQ(nameOf(FaultyCall::allocation), "allocation");
  EXPECT_STREQ(nameOf(FaultyCall::pthread_create), "pthread_create");
}

}  // namespace
}  // namespace kestova::testing
