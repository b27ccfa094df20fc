// SPDX-License-Identifier: Apache-2.0
#include "Load.h"

#include <KestovaFoundation/Additions/NSUserDefaultsAdditions.h>
#include <KestovaFoundation/OVUserDefaults.h>
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSNotificationCenter.h>

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <stdexcept>
#include <thread>

namespace kestova::soak {
namespace {

constexpr const char* kSuite = "org.kestova.soak.Suite";
constexpr const char* kKey = "round";

Ref<NSUserDefaults> defaultsOf(const char* program) {
  NSBundle::declareMainBundleIdentifier(program);
  OVUserDefaults::install();
  return NSUserDefaults::standardUserDefaults();
}

class Sharing final : public Load {
 public:
  explicit Sharing(const std::string& program) : defaults_(defaultsOf("org.kestova.soak.Reader")) {
    defaults_->addSuiteNamed(kSuite);
    observer_ = NSNotificationCenter::defaultCenter()->addObserverForName_object_queue_usingBlock(
        NSUserDefaultsSuiteDidChangeNotification, nullptr, nullptr,
        [this](const Ref<NSNotification>&) {
          if (integerForKey_inSuite(defaults_, kKey, kSuite) > 0) {
            finishOne();
          }
        });
    std::string path = program;
    std::string option = "--write";
    char* arguments[] = {path.data(), option.data(), nullptr};
    if (::posix_spawn(&writer_, path.c_str(), nullptr, nullptr, arguments, environ) != 0) {
      throw std::runtime_error("the writing process could not be started");
    }
  }
  ~Sharing() override {
    ::kill(writer_, SIGKILL);
    ::waitpid(writer_, nullptr, 0);
    NSNotificationCenter::defaultCenter()->removeObserver(observer_.get());
    defaults_->removeSuiteNamed(kSuite);
  }

  const char* name() const override { return "changes of a shared preference"; }

 private:
  const Ref<NSUserDefaults> defaults_;
  id observer_;
  pid_t writer_ = 0;
};

}  // namespace

std::unique_ptr<Load> sharing(const std::string& program) {
  return std::make_unique<Sharing>(program);
}

int writeForEver() {
  const auto defaults = defaultsOf("org.kestova.soak.Writer");
  for (NSInteger round = 1;; ++round) {
    setInteger_forKey_inSuite(defaults, round, kKey, kSuite);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

}  // namespace kestova::soak
