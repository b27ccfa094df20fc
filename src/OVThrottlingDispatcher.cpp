// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVThrottlingDispatcher.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>

#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVThrottlingDispatcher)

namespace {

void requireArgument(bool condition, const char* message, unsigned line) {
  require(
      condition, message,
      {"OVThrottlingDispatcher", "-[OVThrottlingDispatcher initWithQueue:seconds:mode:]", line});
}

}  // namespace

/// `_blockToFire` and `_timerIsActive` are used on `_throttlingQueue` only. No block runs there,
/// and none is let go of there: its end may run code of others.
class OVThrottlingDispatcher::State : public std::enable_shared_from_this<State> {
 public:
  State(dispatch_queue_t queue, NSTimeInterval seconds, NSUInteger mode)
      : _executionQueue(queue), _throttleSeconds(seconds), _mode(mode) {}

  void start() {
    if (_mode == OVThrottleBetweenStarts) {
      callOnTimer(&State::_betweenStarts_timerFired);
    } else if (_mode == OVThrottleBetweenExecution) {
      callOnTimer(&State::_betweenExecution_timerFired);
    }
    _source.resume();
  }

  void dispatch(Block<void()> block) {
    if (_mode == OVThrottleBetweenStarts) {
      _betweenStarts_dispatch(std::move(block));
    } else if (_mode == OVThrottleBetweenExecution) {
      _betweenExecution_dispatch(std::move(block));
    }
  }

  /// A timer that fires at this moment, or a block that ends, comes before the drain or finds
  /// nothing to run after it.
  void end() {
    Block<void()> dropped;
    _source.cancel();
    dispatch_sync(_throttlingQueue, [&] { std::swap(dropped, _blockToFire); });
    _source.setEventHandler(nullptr);
  }

 private:
  void callOnTimer(void (State::*fired)()) {
    _source.setEventHandler([weak = weak_from_this(), fired] {
      if (const auto state = weak.lock()) {
        (*state.*fired)();
      }
    });
  }

  void arm(NSTimeInterval seconds) { _source.setTimer(dispatchTimeAfter(seconds)); }

  void _betweenStarts_dispatch(Block<void()> block) {
    dispatch_sync(_throttlingQueue, [&] {
      std::swap(_blockToFire, block);
      if (!_timerIsActive) {
        _timerIsActive = true;
        arm(0);
      }
    });
  }

  void _betweenStarts_timerFired() {
    dispatch_sync(_throttlingQueue, [&] {
      _timerIsActive = _blockToFire != nullptr;
      if (_timerIsActive) {
        dispatch_async(_executionQueue, std::exchange(_blockToFire, nullptr));
        arm(_throttleSeconds);
      }
    });
  }

  void _betweenExecution_dispatch(Block<void()> block) {
    dispatch_sync(_throttlingQueue, [&] {
      const bool isIdle = _blockToFire == nullptr && !_timerIsActive;
      std::swap(_blockToFire, block);
      if (isIdle) {
        _timerIsActive = true;
        arm(0);
      }
    });
  }

  void _betweenExecution_timerFired() {
    auto block = dispatch_sync(_throttlingQueue, [&] {
      _timerIsActive = false;
      return _blockToFire;
    });
    if (block) {
      dispatch_async(_executionQueue, [weak = weak_from_this(), block = std::move(block)] {
        block();
        if (const auto state = weak.lock()) {
          state->_betweenExecution_executionFinished(block);
        }
      });
    }
  }

  void _betweenExecution_executionFinished(const Block<void()>& block) {
    Block<void()> finished;
    dispatch_sync(_throttlingQueue, [&] {
      if (_blockToFire == block) {
        std::swap(finished, _blockToFire);
      }
      _timerIsActive = true;
      arm(_throttleSeconds);
    });
  }

  const DispatchQueue _executionQueue;
  const NSTimeInterval _throttleSeconds;
  const NSUInteger _mode;
  const DispatchQueue _throttlingQueue = dispatchSerialQueue();
  DispatchTimer _source;
  /// The latest block that has not been handed on; between execution also the one that runs, until
  /// its end.
  Block<void()> _blockToFire;
  /// Whether the timer is armed, also where it only ends the pause after a block.
  bool _timerIsActive = false;
};

OVThrottlingDispatcher::OVThrottlingDispatcher(dispatch_queue_t queue, NSTimeInterval seconds,
                                               NSUInteger mode)
    : state_(std::make_shared<State>(queue, seconds, mode)) {
  state_->start();
}

OVThrottlingDispatcher::~OVThrottlingDispatcher() { state_->end(); }

Ref<OVThrottlingDispatcher> OVThrottlingDispatcher::initWithQueue_seconds_mode(
    dispatch_queue_t queue, NSTimeInterval seconds, NSUInteger mode) {
  requireArgument(queue != nullptr, "queue != nil", 29);
  requireArgument(seconds > 0.0, "seconds > 0.0", 30);
  return make<OVThrottlingDispatcher>(queue, seconds, mode);
}

Ref<OVThrottlingDispatcher> OVThrottlingDispatcher::initWithQueue_seconds(dispatch_queue_t queue,
                                                                          NSTimeInterval seconds) {
  return initWithQueue_seconds_mode(queue, seconds, OVThrottleBetweenStarts);
}

void OVThrottlingDispatcher::dispatch(Block<void()> block) {
  require(block != nullptr, "block != nil");
  state_->dispatch(std::move(block));
}

}  // namespace kestova
