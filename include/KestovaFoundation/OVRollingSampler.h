// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/BriefMutex.h>
#include <KestovaPlatform/Clock.h>
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

#include <memory>

namespace kestova {

/// What a rolling sampler answers about a period.
struct OVRollingSamplerResult {
  /// The values of the samples in it, added up.
  double sum;
  /// How many there were.
  NSUInteger count;
  /// The seconds from the earliest of them to the latest. Without any sample it is
  /// 0 less the largest double, deliberately: look at `count` first.
  NSTimeInterval duration;
};

/// Keeps the latest samples of a quantity with their times, and tells how much there was of it in
/// the last seconds.
///
///     const auto bytes = OVRollingSampler::initWithWindowSize(1000);
///     …
///     bytes->addSample(received);
///     …
///     const auto [sum, count, duration] = bytes->resultForPreviousSeconds(10);
///     if (count > 1) showRate(sum / duration);
///
/// The time is that of the wall clock (see Clock). Where it is set back, samples that were taken
/// before may bear later times than newer ones; the times alone decide what is in a period.
///
/// Threads: any, also at once.
///
/// Cost: 16 bytes for each sample of the window, allocated at the start; adding is a constant and
/// short time, asking a look at every sample.
class KESTOVA_FOUNDATION_EXPORT OVRollingSampler : public NSObject {
  KESTOVA_CLASS(OVRollingSampler, NSObject)

 public:
  /// A sampler without samples, which keeps that many. One that keeps 0 can be made, but must not
  /// be given a sample: that ends the process.
  static Ref<OVRollingSampler> initWithWindowSize(NSUInteger windowSize);

  /// There is no sampler without a window size: throws NSInvalidArgumentException.
  [[noreturn]] static Ref<OVRollingSampler> init();

  /// Records a value with the current time, in place of the oldest one if the window is full.
  void addSample(double value);

  /// What was sampled in the last so many seconds. 0 is this very moment.
  OVRollingSamplerResult resultForPreviousSeconds(NSTimeInterval seconds) const;

  /// Forgets all samples.
  void removeAllSamples();

 protected:
  explicit OVRollingSampler(NSUInteger windowSize);

 private:
  struct Sample {
    double value;
    CFAbsoluteTime time;
  };

  template <class Operation>
  auto onQueue(const Operation& operation) const;
  OVRollingSamplerResult resultSince(CFAbsoluteTime cutOff) const;

  /// Everything but the capacity is used on the queue only. A sample's place is its number modulo
  /// the capacity.
  const DispatchQueue _queue;
  const std::unique_ptr<Sample[]> _samples;
  const NSUInteger _samplesCapacity;
  /// Of all samples, also of those that were overwritten.
  NSUInteger _samplesCount = 0;
  /// Taken before the queue is entered, so that nobody waits there.
  mutable BriefMutex entrance_;
};

}  // namespace kestova
