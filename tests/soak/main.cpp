// SPDX-License-Identifier: Apache-2.0
// soak SECONDS FOLDER: lets everything work at once for that long, and fails when something stands
// still or when memory or descriptors grow.
#include "Load.h"

#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSTimer.h>

#include <sys/prctl.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iterator>
#include <string_view>

#include "ResidentMemory.h"

namespace kestova::soak {
namespace {

/// What may come and go while everything works: buffers of the allocator, descriptors of a copy.
constexpr std::int64_t kMemorySlack = 16 << 20;
constexpr std::ptrdiff_t kDescriptorSlack = 16;

struct Figures {
  std::int64_t memory = testing::residentBytes();
  std::ptrdiff_t descriptors =
      std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
};

class Watch {
 public:
  Watch(Loads loads, int seconds) : loads_(std::move(loads)), seconds_(seconds) {
    for (const auto& load : loads_) {
      (void)load;
      doneBefore_.push_back(0);
    }
  }

  /// Called each second; false when it is enough.
  bool look() {
    ++elapsed_;
    const Figures now;
    std::printf("%4d s: %lld KiB, %td descriptors", elapsed_,
                static_cast<long long>(now.memory >> 10), now.descriptors);
    for (const auto& load : loads_) {
      std::printf(", %lu", load->done());
    }
    std::puts("");
    if (elapsed_ % (seconds_ / 10) == 0) {
      checkThatAllWork();
    }
    if (elapsed_ == seconds_ / 5) {
      warm_ = now;
    }
    if (elapsed_ < seconds_) {
      return true;
    }
    check(now.memory - warm_.memory < kMemorySlack, "memory grew");
    check(now.descriptors - warm_.descriptors < kDescriptorSlack, "descriptors grew in number");
    return false;
  }

  bool failed() const { return failed_; }

 private:
  void checkThatAllWork() {
    for (std::size_t i = 0; i < loads_.size(); ++i) {
      const unsigned long done = loads_[i]->done();
      check(done > doneBefore_[i], loads_[i]->name());
      doneBefore_[i] = done;
    }
  }

  void check(bool holds, const char* what) {
    if (!holds) {
      std::fprintf(stderr, "soak: failed after %d s: %s\n", elapsed_, what);
      failed_ = true;
    }
  }

  const Loads loads_;
  const int seconds_;
  int elapsed_ = 0;
  Figures warm_;
  std::vector<unsigned long> doneBefore_;
  bool failed_ = false;
};

int soak(const std::string& program, int seconds, const std::string& folder) {
  Loads loads;
  loads.push_back(copying(folder));
  loads.push_back(sharing(program));
  loads.push_back(notifying());
  loads.push_back(throttling());
  loads.push_back(pressing());
  for (const auto& load : loads) {
    std::printf("%s\n", load->name());
  }
  Watch watch(std::move(loads), seconds);
  const auto timer =
      NSTimer::scheduledTimerWithTimeInterval_repeats_block(1, true, [&](const Ref<NSTimer>&) {
        if (!watch.look()) {
          NSRunLoop::mainRunLoop()->stop();
        }
      });
  NSRunLoop::mainRunLoop()->run();
  timer->invalidate();
  return watch.failed() ? 1 : 0;
}

}  // namespace
}  // namespace kestova::soak

int main(int argc, char** argv) {
  if (argc == 2 && std::string_view(argv[1]) == "--write") {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    return kestova::soak::writeForEver();
  }
  const int seconds = argc == 3 ? std::atoi(argv[1]) : 0;
  if (seconds < 10) {
    std::fputs("usage: soak SECONDS FOLDER, ten seconds at least\n", stderr);
    return 2;
  }
  try {
    return kestova::soak::soak(argv[0], seconds, argv[2]);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "soak: %s\n", exception.what());
    return 1;
  }
}
