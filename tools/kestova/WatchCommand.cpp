// SPDX-License-Identifier: Apache-2.0
#include "WatchCommand.h"

#include "CommandRunner.h"
#include "Counted.h"
#include "FileFailure.h"
#include "FileWatcher.h"
#include "HelpFormatter.h"
#include "InterruptSignal.h"

#include <KestovaFoundation/OVThrottlingDispatcher.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/RunLoopDescriptorSource.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kestova::tool {
namespace {

void printLine(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

/// Runs the command for changes, and counts both. It is shared with the runs under way.
class ChangeRunner {
 public:
  explicit ChangeRunner(std::vector<std::string> words) : command_(std::move(words)) {}

  void add(std::size_t changes) {
    waiting_ += changes;
    changes_ += changes;
  }

  void run() {
    const std::size_t changes = waiting_.exchange(0);
    ++runs_;
    printLine(counted(changes, "change") + ", 1 run");
    command_.run();
  }

  void stop() { command_.stop(); }

  std::string summary() const {
    return "in all " + counted(changes_, "change") + ", " + counted(runs_, "run");
  }

 private:
  CommandRunner command_;
  std::atomic<std::size_t> waiting_{0};
  std::atomic<std::size_t> changes_{0};
  std::atomic<std::size_t> runs_{0};
};

/// Says what is wrong with an interval; nothing for a good one.
std::string checkInterval(const std::string& text) {
  double seconds = 0;
  const bool isGood = CLI::detail::lexical_cast(text, seconds) && seconds > 0;
  return isGood ? "" : "an interval is a number of seconds above 0";
}

class WatchCommand final : public Command {
 public:
  explicit WatchCommand(CLI::App* arguments) : Command(arguments), arguments_(arguments) {
    arguments->add_option("--interval", seconds_, "Seconds between two runs at least (default: 1)")
        ->option_text("S")
        ->check(checkInterval);
    arguments
        ->add_option("--mode", mode_,
                     "From where the interval counts: a run's end (default) or its start")
        ->option_text("execution|starts")
        ->check(CLI::IsMember({"starts", "execution"}));
    setWords(*arguments, "FILE... -- COMMAND [ARGUMENT...]");
    arguments->footer(
        "Runs COMMAND when a FILE, or what lies in a folder FILE, is written, replaced, renamed,\n"
        "made or removed; a FILE need not exist yet. Changes that come too fast for the interval\n"
        "make one run; with --mode starts a slow run may be joined by the next one. Ctrl-C ends\n"
        "it, and the command with it.");
  }

  int run() override {
    const std::vector<std::string> words = arguments_->remaining();
    const auto mark = std::find(words.begin(), words.end(), "--");
    const std::vector<std::string> files(words.begin(), mark);
    const auto isOption = [](const std::string& word) { return word.starts_with('-'); };
    if (files.empty() || words.end() - mark < 2 ||
        std::any_of(files.begin(), files.end(), isOption)) {
      printFailure("watch takes its options, then files, then -- and a command");
      return kUsedWrongly;
    }
    try {
      FileWatcher watcher(files);
      return watch(watcher, files.size(), std::vector<std::string>(mark + 1, words.end()));
    } catch (const FileFailure& failure) {
      printFailure(failure.what());
      return kFailed;
    }
  }

 private:
  static constexpr double kForever = 1e10;

  /// Runs of one mode may overlap, those of the other never do: one queue serves both.
  Ref<OVThrottlingDispatcher> makeDispatcher() const {
    return OVThrottlingDispatcher::initWithQueue_seconds_mode(
        dispatchConcurrentQueue(), seconds_,
        mode_ == "starts" ? OVThrottleBetweenStarts : OVThrottleBetweenExecution);
  }

  int watch(FileWatcher& watcher, std::size_t count, std::vector<std::string> command) {
    bool isInterrupted = false;
    const InterruptSignal interrupt([&] { isInterrupted = true; });
    const auto runner = std::make_shared<ChangeRunner>(std::move(command));
    auto dispatcher = makeDispatcher();
    const auto source = RunLoopDescriptorSource::sourceWithDescriptor_events_block(
        watcher.descriptor(), RunLoopDescriptorReadable, [&](NSUInteger) {
          const std::size_t changes = watcher.takeChanges();
          runner->add(changes);
          if (changes > 0) {
            dispatcher->dispatch([runner] { runner->run(); });
          }
        });
    NSRunLoop::currentRunLoop()->addSource_forMode(source, NSRunLoopCommonModes);
    printLine("watching " + counted(count, "path"));
    while (!isInterrupted && !watcher.isBlind()) {
      CFRunLoopRunInMode(kCFRunLoopDefaultMode, kForever, true);
    }
    source->invalidate();
    dispatcher = nullptr;
    runner->stop();
    printLine(runner->summary());
    if (!isInterrupted) {
      printFailure("the folders that were watched are gone");
    }
    return isInterrupted ? kInterrupted : kFailed;
  }

  CLI::App* arguments_;
  double seconds_ = 1;
  std::string mode_ = "execution";
};

}  // namespace

void addWatchCommand(CLI::App& app, Commands& commands) {
  commands.push_back(std::make_unique<WatchCommand>(
      app.add_subcommand("watch", "Run a command when files change, but not too often")));
}

}  // namespace kestova::tool
