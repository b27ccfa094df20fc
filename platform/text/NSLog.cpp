// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Clock.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSLog.h>

#include <errno.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace kestova {
namespace {

class DiagnosticStream final : public LogSink {
 public:
  void write(std::string_view entry) override {
    while (!entry.empty()) {
      const ssize_t written = ::write(STDERR_FILENO, entry.data(), entry.size());
      if (written < 0 && errno != EINTR) {
        return;
      }
      entry.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
  }
};

/// Null while the diagnostic stream is in use.
std::atomic<LogSink*> chosenSink{nullptr};

/// "2001-01-01 12:00:00.000" for now.
std::string timestamp() {
  const double now = CFAbsoluteTimeGetCurrent() + NSTimeIntervalSince1970;
  const auto milliseconds = static_cast<std::int64_t>(std::floor(now * 1000));
  const auto seconds =
      static_cast<std::time_t>(std::floor(static_cast<double>(milliseconds) / 1000));
  std::tm local{};
  localtime_r(&seconds, &local);
  char day[40];
  const std::size_t length = std::strftime(day, sizeof day, "%F %T", &local);
  char fraction[8];
  std::snprintf(fraction, sizeof fraction, ".%03d",
                static_cast<int>(milliseconds - seconds * 1000));
  return std::string(day, length) + fraction;
}

}  // namespace

LogSink& LogSink::current() {
  static auto& stream = *new DiagnosticStream;
  LogSink* chosen = chosenSink.load(std::memory_order_acquire);
  return chosen != nullptr ? *chosen : stream;
}

void LogSink::setCurrent(LogSink* sink) { chosenSink.store(sink, std::memory_order_release); }

void NSLogv(const Ref<NSString>& format, const FormatArguments& arguments) {
  const std::string text =
      format ? NSString::initWithFormat_arguments(format, arguments)->displayUTF8() : "(null)";
  LogSink::current().write(timestamp() + ' ' + program_invocation_short_name + '[' +
                           std::to_string(getpid()) + "] " + text + '\n');
}

}  // namespace kestova
