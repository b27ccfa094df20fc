// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVRollingSampler.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSException.h>

#include <algorithm>
#include <limits>
#include <mutex>
#include <span>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVRollingSampler)

OVRollingSampler::OVRollingSampler(NSUInteger windowSize)
    : _queue(dispatchSerialQueue()),
      _samples(std::make_unique<Sample[]>(windowSize)),
      _samplesCapacity(windowSize) {}

Ref<OVRollingSampler> OVRollingSampler::initWithWindowSize(NSUInteger windowSize) {
  return make<OVRollingSampler>(windowSize);
}

Ref<OVRollingSampler> OVRollingSampler::init() {
  throwUnrecognizedSelector(*initWithWindowSize(0), "init");
}

/// Threads that meet at a queue sleep and wake in turn, for microseconds; so they meet before it.
template <class Operation>
auto OVRollingSampler::onQueue(const Operation& operation) const {
  const std::lock_guard lock(entrance_);
  return dispatch_sync(_queue, operation);
}

void OVRollingSampler::addSample(double value) {
  require(_samplesCapacity > 0, "_samplesCapacity > 0");
  onQueue([&] {
    _samples[_samplesCount % _samplesCapacity] = {value, CFAbsoluteTimeGetCurrent()};
    ++_samplesCount;
  });
}

OVRollingSamplerResult OVRollingSampler::resultForPreviousSeconds(NSTimeInterval seconds) const {
  const CFAbsoluteTime cutOff = CFAbsoluteTimeGetCurrent() - seconds;
  return onQueue([&] { return resultSince(cutOff); });
}

OVRollingSamplerResult OVRollingSampler::resultSince(CFAbsoluteTime cutOff) const {
  double sum = 0;
  NSUInteger count = 0;
  CFAbsoluteTime earliest = std::numeric_limits<double>::max();
  CFAbsoluteTime latest = 0;
  for (const Sample& sample :
       std::span(_samples.get(), std::min(_samplesCount, _samplesCapacity))) {
    if (sample.time >= cutOff) {
      sum += sample.value;
      ++count;
      earliest = std::min(earliest, sample.time);
      latest = std::max(latest, sample.time);
    }
  }
  return {sum, count, latest - earliest};
}

void OVRollingSampler::removeAllSamples() {
  onQueue([&] { _samplesCount = 0; });
}

}  // namespace kestova
