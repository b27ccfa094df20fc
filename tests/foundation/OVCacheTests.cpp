// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVCache.h>
#include <KestovaFoundation/OVCacheLRUExpiryPolicy.h>
#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSSet.h>
#include <gtest/gtest.h>

#include "CacheRun.h"
#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "RandomRun.h"
#include "SettableClock.h"

#include <string>
#include <vector>

namespace kestova {
namespace {

using testing::CacheRun;
using testing::counted;
using testing::CountingObject;
using testing::expectException;
using testing::RandomRun;
using testing::SettableClock;

/// Makes "object of <key>" and remembers what it was asked for.
class Generator final : public OVCacheGenerator {
 public:
  id generateObjectForKey(const id& key) override {
    asked += key->description()->displayUTF8();
    return answersNull ? nullptr : NSString::stringWithFormat("object of %@", key);
  }

  std::string asked;
  bool answersNull = false;
};

/// Does what a block says before each item that comes in.
class PolicyOf final : public OVCacheExpiryPolicy {
 public:
  explicit PolicyOf(Block<void(const Ref<OVCache>&)> block) : block_(std::move(block)) {}
  void preInsertExpireFrom(const Ref<OVCache>& cache) override { block_(cache); }

 private:
  Block<void(const Ref<OVCache>&)> block_;
};

class OVCacheTests : public ::testing::Test {
 protected:
  /// Sets an object, named after its key, a second after what was done before.
  void set(const Ref<OVCache>& cache, const Ref<NSString>& key) {
    clock.advance(1);
    cache->setObject_forKey(NSString::stringWithFormat("object of %@", key), key);
  }

  id lookUp(const Ref<OVCache>& cache, const Ref<NSString>& key) {
    clock.advance(1);
    return cache->objectForKey(key);
  }

  /// The keys of the items that a cache holds, in alphabetical order.
  static std::string keysIn(const Ref<OVCache>& cache) {
    const auto keys = NSMutableArray::array();
    for (const id& item : cache->cacheItems()) {
      keys->addObject(cast<OVCacheItem>(item)->key());
    }
    keys->sortUsingSelector(sel<&NSString::compare>());
    return keys->componentsJoinedByString("")->displayUTF8();
  }

  SettableClock clock{1000};
  Ref<Generator> generator = make<Generator>();
};

// Shows: description, count, objectForKey, cacheItemWithKey, cacheItems
TEST_F(OVCacheTests, AnEmptyCacheHoldsNothingAndIsDescribedAsAnEmptyDictionary) {
  const auto cache = OVCache::cacheWithGenerator_expiryPolicy(nullptr, nullptr);
  EXPECT_EQ(cache->count(), 0U);
  EXPECT_EQ(cache->objectForKey("A"), nullptr);
  EXPECT_EQ(cache->cacheItemWithKey("A"), nullptr);
  EXPECT_EQ(cache->cacheItems()->count(), 0U);
  EXPECT_EQ(cache->description(), NSDictionary::dictionary()->description()->displayUTF8());
}

// Shows: initWithGenerator_expiryPolicy, objectForKey
TEST_F(OVCacheTests, AsksItsGeneratorAndItsPolicy) {
  const auto cache = OVCache::initWithGenerator_expiryPolicy(
      generator, OVCacheLRUExpiryPolicy::lruExpiryPolicyWithFixedCount(1));
  EXPECT_EQ(cache->count(), 0U);
  EXPECT_TRUE(lookUp(cache, "A")->isEqual("object of A"));
  EXPECT_TRUE(lookUp(cache, "B")->isEqual("object of B"));
  EXPECT_EQ(keysIn(cache), "B");
  EXPECT_EQ(generator->asked, "AB");
}

// Shows: setObject_forKey, objectForKey, count, cacheWithExpiryPolicy
TEST_F(OVCacheTests, KeepsWhatIsSet) {
  const auto cache = OVCache::cacheWithExpiryPolicy(nullptr);
  set(cache, "A");
  cache->setObject_forKey("other", "B");
  cache->setObject_forKey("another", "B");
  EXPECT_EQ(cache->count(), 2U);
  EXPECT_TRUE(cache->objectForKey("A")->isEqual("object of A"));
  EXPECT_TRUE(cache->objectForKey("B")->isEqual("another"));
}

// Shows: objectForKey, lruCacheWithFixedCount
TEST_F(OVCacheTests, ReadingRefreshesNothingWithoutAGenerator) {
  const auto cache = OVCache::lruCacheWithFixedCount(3);
  set(cache, "A");
  set(cache, "B");
  set(cache, "C");
  EXPECT_NE(lookUp(cache, "A"), nullptr);
  set(cache, "D");
  EXPECT_EQ(keysIn(cache), "BCD");
}

// Shows: objectForKey, lruCacheWithGenerator_fixedCount
TEST_F(OVCacheTests, ReadingRefreshesWithAGenerator) {
  const auto cache = OVCache::lruCacheWithGenerator_fixedCount(generator, 3);
  for (const char* key : {"A", "B", "C", "A", "D"}) {
    EXPECT_TRUE(lookUp(cache, key)->isEqual(NSString::stringWithFormat("object of %s", key)));
  }
  EXPECT_EQ(keysIn(cache), "ACD");
  EXPECT_EQ(generator->asked, "ABCD");
}

// Shows: setObject_forKey, lruCacheWithFixedCount
TEST_F(OVCacheTests, SettingAKeyAgainRemovesTheOldestItemWhicheverItIs) {
  const auto cache = OVCache::lruCacheWithFixedCount(2);
  set(cache, "1");
  set(cache, "2");
  set(cache, "2");
  EXPECT_EQ(keysIn(cache), "2");
  const auto other = OVCache::lruCacheWithFixedCount(2);
  set(other, "1");
  set(other, "2");
  set(other, "1");
  EXPECT_EQ(keysIn(other), "12");
}

// Shows: lruCacheWithFixedCount, lruCacheWithGenerator_fixedCount
TEST_F(OVCacheTests, ACountOfZeroKeepsOneItem) {
  const auto cache = OVCache::lruCacheWithFixedCount(0);
  set(cache, "A");
  EXPECT_EQ(keysIn(cache), "A");
  set(cache, "B");
  EXPECT_EQ(keysIn(cache), "B");
  const auto reading = OVCache::lruCacheWithGenerator_fixedCount(generator, 0);
  (void)lookUp(reading, "A");
  (void)lookUp(reading, "B");
  EXPECT_EQ(keysIn(reading), "B");
}

// Shows: lruCacheWithFixedCount
TEST_F(OVCacheTests, ACountOfOneKeepsTheLastItem) {
  const auto cache = OVCache::lruCacheWithFixedCount(1);
  for (const char* key : {"A", "B", "B", "C"}) {
    set(cache, key);
    EXPECT_EQ(keysIn(cache), key);
  }
}

// Shows: lruCacheWithFixedCount, setObject_forKey
TEST_F(OVCacheTests, OfItemsOfTheSameMomentTheFirstOneListedGoes) {
  const auto cache = OVCache::lruCacheWithFixedCount(3);
  for (const char* key : {"A", "B", "C"}) {
    cache->setObject_forKey(key, key);
  }
  const id first = cast<OVCacheItem>(cache->cacheItems()->firstObject())->key();
  cache->setObject_forKey("D", "D");
  EXPECT_EQ(cache->cacheItemWithKey(first), nullptr);
  EXPECT_EQ(cache->count(), 3U);
}

// Shows: objectForKey, count, removeCacheItemWithKey, cacheWithGenerator_expiryPolicy
TEST_F(OVCacheTests, NullIsGeneratedOnceAndCounts) {
  generator->answersNull = true;
  const auto cache = OVCache::cacheWithGenerator_expiryPolicy(generator, nullptr);
  EXPECT_EQ(cache->objectForKey("A"), nullptr);
  EXPECT_EQ(cache->objectForKey("A"), nullptr);
  EXPECT_EQ(generator->asked, "A");
  EXPECT_EQ(cache->count(), 1U);
  cache->removeCacheItemWithKey("A");
  EXPECT_EQ(cache->objectForKey("A"), nullptr);
  EXPECT_EQ(generator->asked, "AA");
}

// Shows: setObject_forKey, objectForKey, count
TEST_F(OVCacheTests, NullMayBeSet) {
  const auto cache = OVCache::cacheWithExpiryPolicy(nullptr);
  cache->setObject_forKey(nullptr, "A");
  EXPECT_EQ(cache->objectForKey("A"), nullptr);
  EXPECT_EQ(cache->count(), 1U);
}

// Shows: cacheItems, count
TEST_F(OVCacheTests, ListsAllItsItemsThoseOfNullIncluded) {
  const auto cache = OVCache::cacheWithExpiryPolicy(nullptr);
  set(cache, "A");
  cache->setObject_forKey(nullptr, "B");
  EXPECT_EQ(keysIn(cache), "AB");
  EXPECT_EQ(cache->count(), 2U);
}

// Shows: cacheWithExpiryPolicy, setObject_forKey, count
TEST_F(OVCacheTests, WithoutAPolicyNothingIsEverRemoved) {
  const auto cache = OVCache::cacheWithExpiryPolicy(nullptr);
  for (int number = 0; number < 1000; ++number) {
    cache->setObject_forKey(number, number);
  }
  EXPECT_EQ(cache->count(), 1000U);
}

// Shows: objectForKey, generateObjectForKey, cacheItemWithKey
TEST_F(OVCacheTests, OnlyLookingUpIsAnAccess) {
  const auto cache = OVCache::cacheWithGenerator_expiryPolicy(generator, nullptr);
  const auto item = cache->generateObjectForKey("A");
  EXPECT_TRUE(item->accessTime()->isEqual(NSDate::distantPast()));
  EXPECT_EQ(cache->cacheItemWithKey("A"), item);
  EXPECT_EQ(cache->generateObjectForKey("A"), item);
  EXPECT_TRUE(item->accessTime()->isEqual(NSDate::distantPast()));
  (void)lookUp(cache, "A");
  EXPECT_EQ(item->accessTime()->timeIntervalSinceReferenceDate(), 1001);
  clock.advance(5);
  EXPECT_EQ(cache->generateObjectForKey("A"), item);
  EXPECT_EQ(item->accessTime()->timeIntervalSinceReferenceDate(), 1001);
  EXPECT_EQ(generator->asked, "A");
}

// Shows: generateObjectForKey, lruCacheWithGenerator_fixedCount
TEST_F(OVCacheTests, WhatWasOnlyGeneratedIsTheFirstToGo) {
  const auto cache = OVCache::lruCacheWithGenerator_fixedCount(generator, 2);
  (void)lookUp(cache, "A");
  (void)cache->generateObjectForKey("B");
  (void)lookUp(cache, "C");
  EXPECT_EQ(keysIn(cache), "AC");
}

// Shows: generateObjectForKey, cacheItemWithKey
TEST_F(OVCacheTests, GeneratingWithoutAGeneratorStoresNull) {
  const auto cache = OVCache::cacheWithExpiryPolicy(nullptr);
  const auto item = cache->generateObjectForKey("A");
  EXPECT_EQ(item->object(), nullptr);
  EXPECT_TRUE(item->key()->isEqual("A"));
  EXPECT_EQ(cache->cacheItemWithKey("A"), item);
}

// Shows: setObject_forKey
TEST_F(OVCacheTests, SettingCountsAsAccessAtItsEnd) {
  const auto cache = OVCache::cacheWithExpiryPolicy(
      make<PolicyOf>([this](const Ref<OVCache>&) { clock.advance(10); }));
  cache->setObject_forKey("object", "A");
  const auto item = cache->cacheItemWithKey("A");
  EXPECT_EQ(item->creationTime()->timeIntervalSinceReferenceDate(), 1000);
  EXPECT_EQ(item->accessTime()->timeIntervalSinceReferenceDate(), 1010);
}

// Shows: preInsertExpireFrom, setObject_forKey, objectForKey, generateObjectForKey
TEST_F(OVCacheTests, ThePolicyIsAskedBeforeEachItemThatComesIn) {
  std::string counts;
  const auto policy =
      make<PolicyOf>([&](const Ref<OVCache>& cache) { counts += std::to_string(cache->count()); });
  const auto filled = OVCache::cacheWithExpiryPolicy(policy);
  set(filled, "A");
  set(filled, "B");
  set(filled, "B");
  EXPECT_EQ(counts, "012");
  counts.clear();
  const auto reading = OVCache::cacheWithGenerator_expiryPolicy(generator, policy);
  (void)lookUp(reading, "A");
  (void)lookUp(reading, "A");
  (void)reading->generateObjectForKey("B");
  EXPECT_EQ(counts, "01");
}

// Shows: preInsertExpireFrom, removeCacheItemWithKey, cacheItems
TEST_F(OVCacheTests, APolicyMayRemoveWhatItWants) {
  const auto cache = OVCache::cacheWithExpiryPolicy(make<PolicyOf>([](const Ref<OVCache>& cache) {
    for (const id& item : cache->cacheItems()) {
      cache->removeCacheItemWithKey(cast<OVCacheItem>(item)->key());
    }
  }));
  set(cache, "A");
  set(cache, "B");
  EXPECT_EQ(keysIn(cache), "B");
}

// Shows: removeCacheItemWithKey, count
TEST_F(OVCacheTests, RemovingWhatIsNotThereDoesNothing) {
  const auto cache = OVCache::cacheWithExpiryPolicy(nullptr);
  set(cache, "A");
  cache->removeCacheItemWithKey("B");
  EXPECT_EQ(cache->count(), 1U);
  cache->removeCacheItemWithKey("A");
  EXPECT_EQ(cache->count(), 0U);
}

// Shows: setObject_forKey
TEST_F(OVCacheTests, SettingInACacheWithAGeneratorEndsTheProcess) {
  const auto cache = OVCache::lruCacheWithGenerator_fixedCount(generator, 1);
  EXPECT_DEATH(cache->setObject_forKey("object", "A"),
               "Assertion failure in -\\[OVCache setObject:forKey:\\], OVCache:146: "
               "setObject:forKey: called on cache with generator");
}

// Shows: setObject_forKey, removeCacheItemWithKey, objectForKey
TEST_F(OVCacheTests, ANullKeyIsRefusedExceptForLookingUp) {
  const auto cache = OVCache::cacheWithExpiryPolicy(nullptr);
  expectException(NSInvalidArgumentException, [&] { cache->setObject_forKey("object", nullptr); });
  expectException(NSInvalidArgumentException, [&] { cache->removeCacheItemWithKey(nullptr); });
  EXPECT_EQ(cache->objectForKey(nullptr), nullptr);
  EXPECT_EQ(cache->count(), 0U);
}

// Shows: setObject_forKey, objectForKey
TEST_F(OVCacheTests, KeysAreCopiedAsThoseOfADictionary) {
  const auto cache = OVCache::cacheWithExpiryPolicy(nullptr);
  const auto key = NSMutableString::stringWithString("A");
  cache->setObject_forKey("object", key);
  key->setString("B");
  EXPECT_TRUE(cache->objectForKey("A")->isEqual("object"));
  EXPECT_EQ(cache->objectForKey("B"), nullptr);
}

// Shows: objectForKey, generateObjectForKey, cacheItemWithKey, removeCacheItemWithKey, cacheItems
TEST_F(OVCacheTests, ASubclassSeesEveryStep) {
  class Watched final : public OVCache {
   public:
    Watched(Ref<OVCacheGenerator> generator, Ref<OVCacheExpiryPolicy> policy)
        : OVCache(std::move(generator), std::move(policy)) {}
    Ref<OVCacheItem> generateObjectForKey(const id& key) override {
      calls += "generate ";
      return OVCache::generateObjectForKey(key);
    }
    Ref<OVCacheItem> cacheItemWithKey(const id& key) const override {
      calls += "item ";
      return OVCache::cacheItemWithKey(key);
    }
    void removeCacheItemWithKey(const id& key) override {
      calls += "remove:" + key->description()->displayUTF8() + " ";
      OVCache::removeCacheItemWithKey(key);
    }
    Ref<NSArray> cacheItems() const override {
      calls += "items ";
      return OVCache::cacheItems();
    }
    mutable std::string calls;
  };
  const auto cache =
      make<Watched>(generator, OVCacheLRUExpiryPolicy::lruExpiryPolicyWithFixedCount(1));
  (void)lookUp(cache, "A");
  EXPECT_EQ(cache->calls, "item generate item items ");
  cache->calls.clear();
  (void)lookUp(cache, "B");
  EXPECT_EQ(cache->calls, "item generate item items remove:A ");
  cache->calls.clear();
  (void)lookUp(cache, "B");
  EXPECT_EQ(cache->calls, "item ");
}

// Shows: generateObjectForKey, objectForKey
TEST_F(OVCacheTests, AGeneratorMayUseTheCache) {
  class Halving final : public OVCacheGenerator {
   public:
    id generateObjectForKey(const id& key) override {
      const int number = cast<NSNumber>(key)->intValue();
      return number == 0 ? id(0)
                         : id(1 + cast<NSNumber>(cache->objectForKey(number / 2))->intValue());
    }
    OVCache* cache = nullptr;  // unowned: it owns this generator
  };
  const auto halving = make<Halving>();
  const auto cache = OVCache::lruCacheWithGenerator_fixedCount(halving, 3);
  halving->cache = cache.get();
  EXPECT_TRUE(cache->objectForKey(100)->isEqual(7));
  EXPECT_EQ(cache->count(), 3U);
}

// Shows: description
TEST_F(OVCacheTests, DescribesItsItemsByTheirKeys) {
  const auto cache = OVCache::cacheWithExpiryPolicy(nullptr);
  set(cache, "A");
  const auto item = cache->cacheItemWithKey("A");
  EXPECT_TRUE(cache->description()->isEqual(NSDictionary::of({{"A", item}})->description()));
  EXPECT_TRUE(item->description()->hasPrefix("<OVCacheItem: 0x"));
}

// Shows: OVCache
TEST_F(OVCacheTests, KeepsKeysAndObjectsAndLetsGoOfThemWithItself) {
  const int before = CountingObject::alive();
  {
    const auto cache = OVCache::lruCacheWithFixedCount(2);
    for (int value = 0; value < 5; ++value) {
      cache->setObject_forKey(counted(value), counted(value + 100));
    }
    EXPECT_EQ(CountingObject::alive(), before + 4);
  }
  EXPECT_EQ(CountingObject::alive(), before);
}

// Shows: OVCache, cacheItemWithKey
TEST_F(OVCacheTests, AnItemOutlivesItsCache) {
  auto cache = OVCache::lruCacheWithFixedCount(2);
  set(cache, "A");
  const auto item = cache->cacheItemWithKey("A");
  cache = nullptr;
  item->setAccessTime(NSDate::distantFuture());
  EXPECT_TRUE(item->accessTime()->isEqual(NSDate::distantFuture()));
}

// Shows: OVCache, setObject_forKey
TEST_F(OVCacheTests, WhatGoesWithAReplacedItemMayUseTheCache) {
  class Returning final : public NSObject {
   public:
    explicit Returning(OVCache& cache) : cache_(cache) {}
    ~Returning() override {
      cache_.removeCacheItemWithKey("A");
      cache_.setObject_forKey("back", "B");
    }

   private:
    OVCache& cache_;
  };
  const auto cache = OVCache::lruCacheWithFixedCount(5);
  cache->setObject_forKey(make<Returning>(*cache), "A");
  set(cache, "C");
  set(cache, "A");
  EXPECT_EQ(keysIn(cache), "BC");
  EXPECT_EQ(cache->count(), 2U);
}

// Shows: OVCache, objectForKey, setObject_forKey, generateObjectForKey
TEST(OVCacheRandomTests, HoldsWhatAPlainModelHoldsAfterEachStep) {
  RandomRun random;
  for (const bool generates : {false, true}) {
    for (NSUInteger fixedCount = 0; fixedCount < 6; ++fixedCount) {
      CacheRun run(fixedCount, generates);
      for (int step = 0; step < 2000; ++step) {
        ASSERT_TRUE(run.step(random)) << "count " << fixedCount << ", step " << step;
      }
    }
  }
}

}  // namespace
}  // namespace kestova
