// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVRollingSampler.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"
#include "RandomRun.h"
#include "SettableClock.h"
#include "Stress.h"

#include <atomic>
#include <cmath>
#include <cstddef>
#include <deque>
#include <limits>
#include <type_traits>
#include <utility>

namespace kestova::testing {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
/// The duration where there is no sample.
constexpr double kNoDuration = -1.7976931348623157e308;

class OVRollingSamplerTests : public ::testing::Test {
 protected:
  static void expectResult(const OVRollingSampler& sampler, NSTimeInterval seconds, double sum,
                           NSUInteger count, NSTimeInterval duration) {
    const OVRollingSamplerResult result = sampler.resultForPreviousSeconds(seconds);
    EXPECT_EQ(result.sum, sum);
    EXPECT_EQ(result.count, count);
    EXPECT_EQ(result.duration, duration);
  }

  SettableClock clock{1000};
};

using OVRollingSamplerDeathTests = OVRollingSamplerTests;

// Shows: addSample, initWithWindowSize
TEST_F(OVRollingSamplerTests, KeepsTheLatestSamples) {
  const auto sampler = OVRollingSampler::initWithWindowSize(3);
  for (const double value : {1.0, 2.0, 3.0, 4.0}) {
    sampler->addSample(value);
  }
  expectResult(*sampler, 1000, 9, 3, 0);
}

// Shows: resultForPreviousSeconds
TEST_F(OVRollingSamplerTests, TheTimesDecideWhatIsInAPeriod) {
  const auto sampler = OVRollingSampler::initWithWindowSize(10);
  sampler->addSample(1);
  clock.advance(2);
  sampler->addSample(10);
  clock.advance(0.5);
  expectResult(*sampler, 10, 11, 2, 2);
  expectResult(*sampler, 2.5, 11, 2, 2);
  expectResult(*sampler, 2.25, 10, 1, 0);
  expectResult(*sampler, 0.5, 10, 1, 0);
  expectResult(*sampler, 0.25, 0, 0, kNoDuration);
  expectResult(*sampler, kInfinity, 11, 2, 2);
}

// Shows: resultForPreviousSeconds
TEST_F(OVRollingSamplerTests, AddsUpInTheOrderOfThePlacesInTheWindow) {
  const auto sampler = OVRollingSampler::initWithWindowSize(3);
  for (const double value : {7.0, 1e100, -1e100, 1.0}) {
    sampler->addSample(value);
  }
  // The last one stands at the place of the first: 1 + 1e100 - 1e100.
  expectResult(*sampler, 1000, 0, 3, 0);
}

// Shows: resultForPreviousSeconds
TEST_F(OVRollingSamplerTests, APeriodOfNoSecondsIsThisVeryMoment) {
  const auto sampler = OVRollingSampler::initWithWindowSize(10);
  sampler->addSample(1);
  expectResult(*sampler, 0, 1, 1, 0);
  clock.advance(0.001);
  expectResult(*sampler, 0, 0, 0, kNoDuration);
  expectResult(*sampler, -1, 0, 0, kNoDuration);
  expectResult(*sampler, std::nan(""), 0, 0, kNoDuration);
}

// Shows: resultForPreviousSeconds
TEST_F(OVRollingSamplerTests, SamplesFromTheFutureCount) {
  const auto sampler = OVRollingSampler::initWithWindowSize(10);
  sampler->addSample(1);
  clock.setAbsoluteTime(990);
  sampler->addSample(2);
  expectResult(*sampler, 0, 3, 2, 10);
  expectResult(*sampler, -5, 1, 1, 0);
}

// Shows: resultForPreviousSeconds
TEST_F(OVRollingSamplerTests, TheLatestTimeIsNeverBeforeTheReferenceDate) {
  clock.setAbsoluteTime(-10);
  const auto sampler = OVRollingSampler::initWithWindowSize(10);
  sampler->addSample(1);
  expectResult(*sampler, 1, 1, 1, 10);
}

// Shows: resultForPreviousSeconds
TEST_F(OVRollingSamplerTests, WithoutSamplesTheDurationIsFarBelowZero) {
  const auto sampler = OVRollingSampler::initWithWindowSize(3);
  expectResult(*sampler, kInfinity, 0, 0, kNoDuration);
}

// Shows: removeAllSamples
TEST_F(OVRollingSamplerTests, ForgetsAllSamplesAndFillsTheWindowAgain) {
  const auto sampler = OVRollingSampler::initWithWindowSize(2);
  for (const double value : {1.0, 2.0, 3.0}) {
    sampler->addSample(value);
  }
  sampler->removeAllSamples();
  expectResult(*sampler, 1000, 0, 0, kNoDuration);
  sampler->addSample(4);
  expectResult(*sampler, 1000, 4, 1, 0);
  sampler->addSample(5);
  sampler->addSample(6);
  expectResult(*sampler, 1000, 11, 2, 0);
}

// Shows: OVRollingSamplerResult
TEST_F(OVRollingSamplerTests, AnswersItsFieldsInTheirOrder) {
  const auto sampler = OVRollingSampler::initWithWindowSize(1);
  sampler->addSample(2.5);
  const auto [sum, count, duration] = sampler->resultForPreviousSeconds(1);
  static_assert(std::is_same_v<decltype(sum), const double>);
  static_assert(std::is_same_v<decltype(count), const NSUInteger>);
  static_assert(std::is_same_v<decltype(duration), const double>);
  EXPECT_EQ(sum, 2.5);
  EXPECT_EQ(count, 1U);
  EXPECT_EQ(duration, 0);
}

// Shows: resultForPreviousSeconds, addSample, removeAllSamples
TEST_F(OVRollingSamplerTests, AnswersWhatAPlainListOfTheLatestSamplesDoes) {
  RandomRun random;
  for (int run = 0; run < 200; ++run) {
    const std::size_t window = 1 + random.below(8);
    const auto sampler = OVRollingSampler::initWithWindowSize(window);
    std::deque<std::pair<double, double>> samples;
    for (int step = 0; step < 50; ++step) {
      clock.advance(static_cast<double>(random.below(4)));
      if (random.below(20) == 0) {
        sampler->removeAllSamples();
        samples.clear();
      }
      const auto value = static_cast<double>(random.below(100));
      sampler->addSample(value);
      samples.emplace_back(value, clock.absoluteTime());
      if (samples.size() > window) {
        samples.pop_front();
      }
      const auto seconds = static_cast<double>(random.below(12));
      std::deque<std::pair<double, double>> inside;
      double sum = 0;
      for (const auto& sample : samples) {
        if (sample.second >= clock.absoluteTime() - seconds) {
          inside.push_back(sample);
          sum += sample.first;
        }
      }
      expectResult(*sampler, seconds, sum, inside.size(),
                   inside.back().second - inside.front().second);
    }
  }
}

// Shows: init
TEST_F(OVRollingSamplerTests, ThereIsNoSamplerWithoutAWindow) {
  expectException(NSInvalidArgumentException, [] { (void)OVRollingSampler::init(); });
  expectException(NSInvalidArgumentException, [] { (void)OVRollingSampler::staticClass().make(); });
}

// Shows: initWithWindowSize
TEST_F(OVRollingSamplerTests, AWindowOfNothingCanBeMadeAndAsked) {
  const auto sampler = OVRollingSampler::initWithWindowSize(0);
  expectResult(*sampler, kInfinity, 0, 0, kNoDuration);
  sampler->removeAllSamples();
}

// Shows: OVRollingSampler
TEST_F(OVRollingSamplerTests, ManyThreadsAddAndAskAtOnce) {
  const auto sampler = OVRollingSampler::initWithWindowSize(8000);
  std::atomic<bool> isWrong{false};
  Threads threads;
  threads.start(8, [&](int) {
    for (int i = 0; i < 1000; ++i) {
      sampler->addSample(2);
      if (i % 100 == 0) {
        const auto result = sampler->resultForPreviousSeconds(10);
        isWrong = isWrong || result.sum != 2 * static_cast<double>(result.count);
      }
    }
  });
  threads.join();
  EXPECT_FALSE(isWrong);
  expectResult(*sampler, 10, 16000, 8000, 0);
}

// Shows: OVRollingSampler
TEST_F(OVRollingSamplerTests, SamplersMayGoWhileOthersAreHammered) {
  const StressTime time;
  Threads threads;
  threads.start(8, [&](int) {
    while (!time.isOver()) {
      const auto sampler = OVRollingSampler::initWithWindowSize(4);
      for (int i = 0; i < 20; ++i) {
        sampler->addSample(1);
        (void)sampler->resultForPreviousSeconds(1);
      }
      sampler->removeAllSamples();
    }
  });
}

// Shows: addSample
TEST_F(OVRollingSamplerDeathTests, ASampleForAWindowOfNothingEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto sampler = OVRollingSampler::initWithWindowSize(0);
  EXPECT_DEATH(sampler->addSample(1), "_samplesCapacity > 0");
}

}  // namespace
}  // namespace kestova::testing
