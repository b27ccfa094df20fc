// SPDX-License-Identifier: Apache-2.0
#include "HotKeyCommand.h"

#include "CommandRunner.h"
#include "Counted.h"
#include "FileFailure.h"
#include "HelpFormatter.h"
#include "HotKeyCombination.h"
#include "InterruptSignal.h"

#include <KestovaFoundation/OVHotKeyCenter.h>
#include <KestovaPlatform/HotKeyService.h>
#include <KestovaPlatform/MacErrors.h>
#include <KestovaPlatform/NSLog.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/VirtualKeys.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

namespace kestova::tool {
namespace {

using Words = std::vector<std::string>;

constexpr const char* kAnd = "--and";
constexpr const char* kUse =
    "hotkey takes a key combination, then -- and a command; --and begins the next combination";

/// A combination and what it runs.
struct Binding {
  HotKeyCombination combination;
  Words command;
};

/// While it lives the log goes to the diagnostic stream as the tool's own lines. It begins quiet:
/// why hot keys can't be had is told by the tool itself.
class HotKeyLog final : public LogSink {
 public:
  HotKeyLog() { setCurrent(this); }
  ~HotKeyLog() override { setCurrent(nullptr); }

  void speak() { isQuiet_ = false; }

  void write(std::string_view entry) override {
    if (!isQuiet_) {
      const std::size_t end = entry.find("] ");
      printFailure(entry.substr(end + 2, entry.size() - end - 3));
    }
  }

 private:
  bool isQuiet_ = true;
};

/// What stands between single --and; one that is said twice is a word like others.
std::vector<Words> partsOf(const Words& words) {
  std::vector<Words> parts(1);
  for (auto word = words.begin(); word != words.end(); ++word) {
    if (*word != kAnd) {
      parts.back().push_back(*word);
    } else if (std::next(word) != words.end() && *std::next(word) == kAnd) {
      parts.back().push_back(*++word);
    } else {
      parts.emplace_back();
    }
  }
  return parts;
}

/// COMBINATION -- COMMAND [ARGUMENT...]. Throws std::invalid_argument for anything else.
Binding bindingIn(const Words& words) {
  if (words.size() < 3 || words[1] != "--") {
    throw std::invalid_argument(kUse);
  }
  return {HotKeyCombination(words[0]), Words(words.begin() + 2, words.end())};
}

std::vector<Binding> bindingsIn(const Words& words) {
  std::vector<Binding> bindings;
  for (const Words& part : partsOf(words)) {
    bindings.push_back(bindingIn(part));
  }
  return bindings;
}

std::string reasonFor(OSStatus status) {
  switch (status) {
    case eventHotKeyExistsErr:
      return "it is taken";
    case eventHotKeyInvalidErr:
      return "this keyboard has no such key";
    case unimpErr:
      return HotKeyService::explanation();
    default:
      return GetMacOSStatusCommentString(status);
  }
}

class HotKeyCommand final : public Command {
 public:
  explicit HotKeyCommand(CLI::App* arguments) : Command(arguments), arguments_(arguments) {
    arguments->add_flag("--list-keys", listsKeys_, "Print the names of all keys");
    arguments->add_flag("--check", checks_,
                        "Only tell whether combinations are free, and who would serve them");
    setWords(*arguments, "COMBINATION -- COMMAND [ARGUMENT...] [--and COMBINATION -- ...]");
    arguments->footer(
        "With --check nothing but COMBINATION..., with --list-keys nothing at all.\n"
        "An argument --and of COMMAND's own is said twice: --and --and.\n"
        "Runs COMMAND whenever the combination is released, whichever program is in front.\n"
        "COMBINATION is a key behind any of Control+, Alt+, Shift+ and Super+. A combination that\n"
        "another program has is a failure. Ctrl-C ends it and gives the keys back; commands that\n"
        "still run go on.");
  }

  int run() override {
    const Words words = arguments_->remaining();
    try {
      if (listsKeys_) {
        return words.empty() ? listKeys() : throw std::invalid_argument("--list-keys stands alone");
      }
      return checks_ ? check(words) : serve(bindingsIn(words));
    } catch (const std::invalid_argument& failure) {
      printFailure(failure.what());
      return kUsedWrongly;
    }
  }

 private:
  static constexpr double kForever = 1e10;

  static int listKeys() {
    for (const VirtualKey& key : VirtualKeys()) {
      std::printf("%3u %s\n", key.code, std::string(key.name).c_str());
    }
    return kSucceeded;
  }

  static int check(const Words& words) {
    const HotKeyLog quiet;
    std::vector<HotKeyCombination> combinations(words.begin(), words.end());
    if (combinations.empty()) {
      throw std::invalid_argument("--check takes key combinations");
    }
    const auto isServed = [](const auto& one) { return report(one); };
    return std::count_if(combinations.begin(), combinations.end(), isServed) ==
                   static_cast<std::ptrdiff_t>(combinations.size())
               ? kSucceeded
               : kFailed;
  }

  /// Tells about one combination. Whether it can be had.
  static bool report(const HotKeyCombination& combination) {
    const OSStatus status = combination.availability();
    const auto service = HotKeyService::shared();
    if (status != noErr && status != eventHotKeyExistsErr) {
      printFailure(combination.text() + ": " + reasonFor(status));
      return false;
    }
    const char* state = status != noErr            ? "taken"
                        : service->asksThePerson() ? "up to the person"
                                                   : "free";
    std::printf("%s: %s (%s)\n", combination.text().c_str(), state, service->name().c_str());
    return status == noErr;
  }

  static int serve(const std::vector<Binding>& bindings) {
    HotKeyLog log;
    bool isInterrupted = false;
    const InterruptSignal interrupt([&] { isInterrupted = true; });
    const auto center = OVHotKeyCenter::init();
    for (const Binding& binding : bindings) {
      if (!add(*center, binding)) {
        printFailure(binding.combination.text() + ": " +
                     reasonFor(binding.combination.availability()));
        return kFailed;
      }
    }
    log.speak();
    const auto service = HotKeyService::shared();
    std::printf("%s, served by %s\n", counted(bindings.size(), "hot key").c_str(),
                service->name().c_str());
    std::fflush(stdout);
    while (!isInterrupted && service->isLive()) {
      CFRunLoopRunInMode(kCFRunLoopDefaultMode, kForever, true);
    }
    return isInterrupted ? kInterrupted : kFailed;
  }

  static bool add(OVHotKeyCenter& center, const Binding& binding) {
    const auto runner = std::make_shared<CommandRunner>(binding.command);
    return center.registerHotKeyWithKeyCode_modifierFlags_handler(
               binding.combination.keyCode(), binding.combination.modifierFlags(),
               [runner](const auto&, const auto&) { start(runner); }) != nullptr;
  }

  /// Each run waits in a thread of its own: the queues have few, and commands may last for hours.
  static void start(const std::shared_ptr<CommandRunner>& runner) {
    try {
      std::thread([runner] { runner->run(); }).detach();
    } catch (const std::system_error& failure) {
      printFailure(std::string("a command can't be run: ") + failure.what());
    }
  }

  CLI::App* arguments_;
  bool listsKeys_ = false;
  bool checks_ = false;
};

}  // namespace

void addHotKeyCommand(CLI::App& app, Commands& commands) {
  commands.push_back(std::make_unique<HotKeyCommand>(
      app.add_subcommand("hotkey", "Run commands when key combinations are released")));
}

}  // namespace kestova::tool
