// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSLog.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ChildProcess.h"
#include "SettableClock.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <ctime>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace kestova {
namespace {

using testing::runInChild;
using testing::SettableClock;

/// Keeps the entries instead of printing them.
class RecordingSink final : public LogSink {
 public:
  RecordingSink() { setCurrent(this); }
  ~RecordingSink() override { setCurrent(nullptr); }

  void write(std::string_view entry) override { entries.emplace_back(entry); }

  std::vector<std::string> entries;
};

/// A time zone of a test's own.
class TimeZoneOf {
 public:
  explicit TimeZoneOf(const char* zone) {
    if (const char* before = getenv("TZ")) {
      before_ = before;
    }
    setenv("TZ", zone, 1);
    tzset();
  }
  ~TimeZoneOf() {
    before_.empty() ? unsetenv("TZ") : setenv("TZ", before_.c_str(), 1);
    tzset();
  }

 private:
  std::string before_;
};

std::string program() { return program_invocation_short_name; }
std::string process() { return "[" + std::to_string(getpid()) + "]"; }

TEST(NSLogTests, AnEntryHasTimeProgramProcessAndText) {
  const TimeZoneOf zone("EST5");
  const SettableClock clock(0.1256);
  RecordingSink sink;
  NSLog("Error %ld: %@", -43L, Ref<NSString>("größer"));
  ASSERT_EQ(sink.entries.size(), 1U);
  EXPECT_EQ(sink.entries[0],
            "2000-12-31 19:00:00.125 " + program() + process() + " Error -43: größer\n");
}

TEST(NSLogTests, TimesBeforeTheReferenceDateCountUpwards) {
  const TimeZoneOf zone("UTC0");
  const SettableClock clock(-NSTimeIntervalSince1970 - 0.25);
  RecordingSink sink;
  NSLog("x");
  EXPECT_EQ(sink.entries.at(0).substr(0, 23), "1969-12-31 23:59:59.750");
}

TEST(NSLogTests, NothingAndWhatIsNoTextAreLoggedTo) {
  RecordingSink sink;
  NSLog(nullptr);
  NSLog("%@", Ref<NSString>());
  NSLog("%C", u'\xD800');
  ASSERT_EQ(sink.entries.size(), 3U);
  EXPECT_TRUE(sink.entries[0].ends_with("] (null)\n"));
  EXPECT_TRUE(sink.entries[1].ends_with("] (null)\n"));
  EXPECT_TRUE(sink.entries[2].ends_with("] \xEF\xBF\xBD\n"));
}

/// What a child process writes to its diagnostic stream while it runs `body`.
std::string diagnosticsOf(const std::function<void()>& body) {
  char path[] = "/tmp/kestova-log-XXXXXX";
  const int file = mkstemp(path);
  unlink(path);
  fcntl(file, F_SETFL, O_APPEND);
  runInChild([&] {
    dup2(file, STDERR_FILENO);
    body();
    return 0;
  });
  std::string text(static_cast<std::size_t>(lseek(file, 0, SEEK_END)), '\0');
  EXPECT_EQ(pread(file, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
  close(file);
  return text;
}

TEST(NSLogTests, GoesToTheDiagnosticStream) {
  const std::string text = diagnosticsOf([] { NSLog("hello %d", 1); });
  EXPECT_THAT(text, ::testing::MatchesRegex("[0-9-]{10} [0-9:]{8}\\.[0-9]{3} " + program() +
                                            "\\[[0-9]+\\] hello 1\n"));
}

TEST(NSLogTests, EntriesOfSeveralThreadsDoNotMix) {
  const std::vector<std::string> kTexts = {std::string(32, 'a'), std::string(32, 'b'),
                                           std::string(32, 'c')};
  constexpr int kRounds = 200;
  std::istringstream lines(diagnosticsOf([&] {
    std::vector<std::thread> threads;
    for (const std::string& text : kTexts) {
      threads.emplace_back([&text] {
        for (int round = 0; round < kRounds; ++round) {
          NSLog("%s", text);
        }
      });
    }
    for (auto& thread : threads) {
      thread.join();
    }
  }));
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    EXPECT_THAT(kTexts, ::testing::Contains(line.substr(line.find("] ") + 2)));
  }
  EXPECT_EQ(count, 3 * kRounds);
}

}  // namespace
}  // namespace kestova
