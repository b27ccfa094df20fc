// SPDX-License-Identifier: Apache-2.0
#include "Load.h"

#include <KestovaFoundation/OVHotKeyCenter.h>
#include <KestovaPlatform/NSEvent.h>
#include <KestovaPlatform/NSTimer.h>
#include <KestovaPlatform/VirtualKeys.h>

#include <stdexcept>

namespace kestova::soak {
namespace {

constexpr NSUInteger kControlAlt = NSControlKeyMask | NSAlternateKeyMask;

class Pressing final : public Load {
 public:
  Pressing()
      : hotKey_(take("K", [this](const Ref<OVHotKey>&, const Ref<NSEvent>&) { finishOne(); })),
        timer_(NSTimer::scheduledTimerWithTimeInterval_repeats_block(
            0.1, true, [](const Ref<NSTimer>&) { takeAndGiveBack(); })) {
    if (!hotKey_) {
      throw std::runtime_error("Control+Alt+K is taken, or there is no display");
    }
  }
  ~Pressing() override {
    timer_->invalidate();
    OVHotKeyCenter::sharedHotKeyCenter()->unregisterHotKey(hotKey_);
  }

  const char* name() const override { return "calls of a hot key"; }

 private:
  static Ref<OVHotKey> take(const char* key, OVHotKey::Handler handler) {
    return OVHotKeyCenter::sharedHotKeyCenter()->registerHotKeyWithKeyCode_modifierFlags_handler(
        VirtualKeyCodeForName(key).value(), kControlAlt, std::move(handler));
  }

  static void takeAndGiveBack() {
    const auto other = take("J", [](const Ref<OVHotKey>&, const Ref<NSEvent>&) {});
    if (!other) {
      throw std::runtime_error("Control+Alt+J was not given back");
    }
    OVHotKeyCenter::sharedHotKeyCenter()->unregisterHotKey(other);
  }

  const Ref<OVHotKey> hotKey_;
  const Ref<NSTimer> timer_;
};

}  // namespace

std::unique_ptr<Load> pressing() { return std::make_unique<Pressing>(); }

}  // namespace kestova::soak
