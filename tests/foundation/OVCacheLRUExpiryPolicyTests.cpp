// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVCache.h>
#include <KestovaFoundation/OVCacheLRUExpiryPolicy.h>
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>

#include "SettableClock.h"

#include <cmath>
#include <limits>
#include <string>

namespace kestova {
namespace {

using testing::SettableClock;

Ref<OVCacheLRUExpiryPolicy> keeping(NSUInteger count) {
  return OVCacheLRUExpiryPolicy::lruExpiryPolicyWithFixedCount(count);
}

/// Remembers what is removed from it.
class RecordingCache final : public OVCache {
 public:
  RecordingCache() : OVCache(nullptr, nullptr) {}
  void removeCacheItemWithKey(const id& key) override {
    removed += key->description()->displayUTF8();
    OVCache::removeCacheItemWithKey(key);
  }
  std::string removed;
};

class OVCacheLRUExpiryPolicyTests : public ::testing::Test {
 protected:
  /// Fills a cache with the numbers from 1 on, a second after each other.
  void fill(const Ref<OVCache>& cache, NSUInteger count) {
    for (NSUInteger number = 1; number <= count; ++number) {
      clock.advance(1);
      cache->setObject_forKey(number, number);
    }
  }

  void access(const Ref<OVCache>& cache, int number) {
    clock.advance(1);
    cache->cacheItemWithKey(number)->setAccessTime(NSDate::date());
  }

  static Ref<NSDate> at(NSTimeInterval seconds) {
    return NSDate::dateWithTimeIntervalSinceReferenceDate(seconds);
  }

  SettableClock clock{1000};
  Ref<RecordingCache> cache = make<RecordingCache>();
};

// Shows: preInsertExpireFrom
TEST_F(OVCacheLRUExpiryPolicyTests, RemovesNothingBelowItsCount) {
  fill(cache, 2);
  keeping(3)->preInsertExpireFrom(cache);
  keeping(std::numeric_limits<NSUInteger>::max())->preInsertExpireFrom(cache);
  EXPECT_EQ(cache->removed, "");
}

// Shows: preInsertExpireFrom, lruExpiryPolicyWithFixedCount
TEST_F(OVCacheLRUExpiryPolicyTests, RemovesTheLeastRecentlyAccessedAtItsCount) {
  fill(cache, 3);
  access(cache, 1);
  keeping(3)->preInsertExpireFrom(cache);
  EXPECT_EQ(cache->removed, "2");
}

// Shows: initWithFixedCount, preInsertExpireFrom
TEST_F(OVCacheLRUExpiryPolicyTests, GoesByTheCountItIsInitialisedWith) {
  fill(cache, 2);
  OVCacheLRUExpiryPolicy::initWithFixedCount(3)->preInsertExpireFrom(cache);
  EXPECT_EQ(cache->removed, "");
  OVCacheLRUExpiryPolicy::initWithFixedCount(2)->preInsertExpireFrom(cache);
  EXPECT_EQ(cache->removed, "1");
}

// Shows: preInsertExpireFrom
TEST_F(OVCacheLRUExpiryPolicyTests, RemovesEverythingAboveItsCountTheOldestFirst) {
  for (const NSUInteger count : {0, 1, 2, 3}) {
    const auto full = make<RecordingCache>();
    fill(full, 4);
    access(full, 2);
    keeping(count)->preInsertExpireFrom(full);
    EXPECT_EQ(full->removed, "1342");
    EXPECT_EQ(full->count(), 0U);
  }
}

// Shows: preInsertExpireFrom
TEST_F(OVCacheLRUExpiryPolicyTests, DoesNothingToAnEmptyCache) {
  keeping(0)->preInsertExpireFrom(cache);
  EXPECT_EQ(cache->removed, "");
}

// Shows: preInsertExpireFrom
TEST_F(OVCacheLRUExpiryPolicyTests, AnItemWithoutAccessTimeIsTheFirstToGo) {
  fill(cache, 3);
  cache->cacheItemWithKey(2)->setAccessTime(NSDate::distantPast());
  cache->cacheItemWithKey(3)->setAccessTime(nullptr);
  keeping(3)->preInsertExpireFrom(cache);
  keeping(2)->preInsertExpireFrom(cache);
  EXPECT_EQ(cache->removed, "32");
}

// Shows: OVCacheLRUExpiryPolicy, lruExpiryPolicyWithFixedCount
TEST_F(OVCacheLRUExpiryPolicyTests, OnePolicyServesSeveralCaches) {
  const auto policy = keeping(1);
  const auto first = OVCache::cacheWithExpiryPolicy(policy);
  const auto second = OVCache::cacheWithExpiryPolicy(policy);
  first->setObject_forKey("a", "a");
  second->setObject_forKey("b", "b");
  EXPECT_EQ(first->count() + second->count(), 2U);
  first->setObject_forKey("c", "c");
  EXPECT_NE(second->cacheItemWithKey("b"), nullptr);
}

// Shows: preInsertExpireFrom
TEST_F(OVCacheLRUExpiryPolicyTests, ACacheThatOverridesNothingLosesTheSameItems) {
  const auto plain = OVCache::cacheWithExpiryPolicy(nullptr);
  fill(plain, 5);
  access(plain, 1);
  keeping(5)->preInsertExpireFrom(plain);
  EXPECT_EQ(plain->cacheItemWithKey(2), nullptr);
  EXPECT_EQ(plain->count(), 4U);
  keeping(3)->preInsertExpireFrom(plain);
  EXPECT_EQ(plain->count(), 0U);
}

// Shows: preInsertExpireFrom
TEST_F(OVCacheLRUExpiryPolicyTests, FindsTheOldestWhereverItStandsAndTheFirstOfEquals) {
  for (NSUInteger count = 1; count <= 20; ++count) {
    for (NSUInteger place = 0; place < count; ++place) {
      const auto plain = OVCache::cacheWithExpiryPolicy(nullptr);
      fill(plain, count);
      const auto items = plain->cacheItems();
      for (NSUInteger later = place; later < count; later += 5) {
        cast<OVCacheItem>(items->objectAtIndex(later))->setAccessTime(at(3));
      }
      const id oldest = cast<OVCacheItem>(items->objectAtIndex(place))->key();
      keeping(count)->preInsertExpireFrom(plain);
      EXPECT_EQ(plain->cacheItemWithKey(oldest), nullptr) << place << " of " << count;
      EXPECT_EQ(plain->count(), count - 1);
    }
  }
}

// Shows: preInsertExpireFrom
TEST_F(OVCacheLRUExpiryPolicyTests, ATimeThatIsNoNumberIsOlderThanNothing) {
  const auto plain = OVCache::cacheWithExpiryPolicy(nullptr);
  fill(plain, 10);
  const auto items = plain->cacheItems();
  cast<OVCacheItem>(items->objectAtIndex(4))->setAccessTime(at(NAN));
  keeping(10)->preInsertExpireFrom(plain);
  EXPECT_EQ(plain->cacheItemWithKey(1), nullptr);
  cast<OVCacheItem>(plain->cacheItems()->firstObject())->setAccessTime(at(NAN));
  const id first = cast<OVCacheItem>(plain->cacheItems()->firstObject())->key();
  keeping(9)->preInsertExpireFrom(plain);
  EXPECT_EQ(plain->cacheItemWithKey(first), nullptr);
}

// Shows: preInsertExpireFrom
TEST_F(OVCacheLRUExpiryPolicyTests, ItemsThatTheCacheNoLongerHoldsDontCount) {
  const auto plain = OVCache::cacheWithExpiryPolicy(nullptr);
  fill(plain, 4);
  const auto removed = plain->cacheItemWithKey(2);
  const auto replaced = plain->cacheItemWithKey(4);
  plain->removeCacheItemWithKey(2);
  plain->setObject_forKey("other", 4);
  removed->setAccessTime(NSDate::distantPast());
  replaced->setAccessTime(NSDate::distantPast());
  keeping(3)->preInsertExpireFrom(plain);
  EXPECT_EQ(plain->cacheItemWithKey(1), nullptr);
  EXPECT_EQ(plain->count(), 2U);
}

// Shows: preInsertExpireFrom
TEST_F(OVCacheLRUExpiryPolicyTests, ACacheThatListsAnythingButItemsEndsTheProcess) {
  class Confused final : public OVCache {
   public:
    Confused() : OVCache(nullptr, nullptr) {}
    Ref<NSArray> cacheItems() const override { return NSArray::of("text"); }
  };
  const auto confused = make<Confused>();
  EXPECT_DEATH(keeping(1)->preInsertExpireFrom(confused), "cacheItems lists items only");
}

}  // namespace
}  // namespace kestova
