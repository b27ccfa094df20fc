// SPDX-License-Identifier: Apache-2.0
// The time from setting a value in a suite in one process until another one, whose suite it is, has
// been told and has read it from the disk.
#include <KestovaFoundation/Additions/NSUserDefaultsAdditions.h>
#include <KestovaFoundation/OVUserDefaults.h>
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSNotificationCenter.h>

#include <benchmark/benchmark.h>

#include <cstdlib>

#include "../tests/support/TemporaryFolder.h"
#include "ProcessExchange.h"

namespace {

using namespace kestova;
using bench::Listener;

/// A program that hears of one suite and sets a value in another.
class Program {
 public:
  Program(const char* address, const char* hears, const char* posts)
      : defaults_(defaultsOn(address, hears)), suite_(posts) {
    defaults_->addSuiteNamed(hears);
    NSNotificationCenter::defaultCenter()->addObserver_selector_name_object(
        listener_.get(), sel<&Listener::heard>(), NSUserDefaultsSuiteDidChangeNotification,
        defaults_.get());
  }
  ~Program() { NSNotificationCenter::defaultCenter()->removeObserver(listener_.get()); }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void post() { setInteger_forKey_inSuite(defaults_, ++value_, "value", suite_); }

  bool wait() { return listener_->wait(); }

 private:
  static Ref<OVUserDefaults> defaultsOn(const char* address, const char* identifier) {
    ::setenv("DBUS_SESSION_BUS_ADDRESS", address, 1);
    NSBundle::declareMainBundleIdentifier(identifier);
    return OVUserDefaults::standardUserDefaults();
  }

  const Ref<OVUserDefaults> defaults_;
  const Ref<NSString> suite_;
  const Ref<Listener> listener_ = make<Listener>();
  NSInteger value_ = 0;
};

void BM_SuiteChange(benchmark::State& state) { bench::timeOneWay<Program>(state, "program"); }
BENCHMARK(BM_SuiteChange)->UseManualTime();

}  // namespace

int main(int argc, char** argv) {
  if (bench::isAnswerer(argc, argv, "program")) {
    return bench::answer<Program>(argv[2]);
  }
  const testing::TemporaryFolder folder;
  ::setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
