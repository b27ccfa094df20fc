// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/OVCache.h>
#include <KestovaPlatform/NSNumber.h>

#include "SettableClock.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kestova::testing {

/// Makes the number of how often it was asked, and nothing for every fifth key.
class NumberingGenerator final : public OVCacheGenerator {
 public:
  id generateObjectForKey(const id& key) override {
    ++calls;
    return cast<NSNumber>(key)->intValue() % 5 == 4 ? id() : id(calls);
  }

  int calls = 0;
};

/// A cache beside a plain model of what it must hold, both led through the same choices. `Choices`
/// has `below(limit)`.
class CacheRun {
 public:
  CacheRun(NSUInteger fixedCount, bool generates) : fixedCount_(fixedCount) {
    if (generates) {
      generator_ = make<NumberingGenerator>();
    }
    cache_ = OVCache::lruCacheWithGenerator_fixedCount(generator_, fixedCount);
  }

  /// Does one operation; answers whether cache and model still agree.
  template <class Choices>
  bool step(Choices& choices) {
    clock_.advance(static_cast<double>(choices.below(2)));
    const int key = static_cast<int>(choices.below(8));
    const std::vector<int> listed = listedKeys();
    switch (choices.below(generator_ ? 5 : 6)) {
      case 0:
        removed_ = cache_->cacheItemWithKey(key);
        cache_->removeCacheItemWithKey(key);
        items_.erase(key);
        break;
      case 1:
        return isSame(cache_->cacheItemWithKey(key), key) && agrees();
      case 2: {
        const auto item = cache_->generateObjectForKey(key);
        generate(key, listed);
        return isSame(item, key) && agrees();
      }
      case 3:
        return isSame(cache_->objectForKey(key), lookUp(key, listed)) && agrees();
      case 4:
        touch(key, static_cast<double>(choices.below(3)));
        break;
      default:
        set(key, static_cast<int>(choices.below(100)), listed);
        break;
    }
    return agrees();
  }

 private:
  struct Item {
    std::optional<int> object;
    std::optional<double> accessed;
  };

  static bool isSame(const id& object, std::optional<int> number) {
    return number ? object && object->isEqual(*number) : !object;
  }

  bool isSame(const Ref<OVCacheItem>& item, int key) const {
    const auto found = items_.find(key);
    if (!item || found == items_.end()) {
      return !item && found == items_.end();
    }
    const Item& expected = found->second;
    const auto accessed = expected.accessed
                              ? NSDate::dateWithTimeIntervalSinceReferenceDate(*expected.accessed)
                              : NSDate::distantPast();
    return isSame(item->object(), expected.object) && item->accessTime()->isEqual(accessed);
  }

  bool agrees() const {
    return cache_->count() == items_.size() && (!generator_ || generator_->calls == generated_) &&
           std::ranges::all_of(items_, [this](const auto& entry) {
             return isSame(cache_->cacheItemWithKey(entry.first), entry.first);
           });
  }

  /// The keys in the order in which the cache lists its items: it decides among equal times.
  std::vector<int> listedKeys() const {
    std::vector<int> keys;
    for (const id& item : cache_->cacheItems()) {
      keys.push_back(cast<NSNumber>(cast<OVCacheItem>(item)->key())->intValue());
    }
    return keys;
  }

  void expire(std::vector<int> keys) {
    const NSUInteger held = items_.size();
    if (held < fixedCount_) {
      return;
    }
    std::ranges::stable_sort(keys, {},
                             [this](int key) { return items_.at(key).accessed.value_or(-1e300); });
    NSUInteger left = fixedCount_ + 1 - held;
    for (const int key : keys) {
      items_.erase(key);
      if (--left == 0) {
        return;
      }
    }
  }

  void generate(int key, const std::vector<int>& listed) {
    if (items_.contains(key)) {
      return;
    }
    std::optional<int> object;
    if (generator_) {
      ++generated_;
      object = key % 5 == 4 ? std::nullopt : std::optional(generated_);
    }
    expire(listed);
    items_[key] = {object, std::nullopt};
  }

  std::optional<int> lookUp(int key, const std::vector<int>& listed) {
    if (generator_) {
      generate(key, listed);
      items_[key].accessed = clock_.absoluteTime();
    }
    const auto found = items_.find(key);
    return found == items_.end() ? std::nullopt : found->second.object;
  }

  /// Sets access times of the item for the key, and of the one that was removed last.
  void touch(int key, double time) {
    const auto date = NSDate::dateWithTimeIntervalSinceReferenceDate(time);
    if (const auto item = cache_->cacheItemWithKey(key)) {
      item->setAccessTime(date);
      items_[key].accessed = time;
    }
    if (removed_) {
      removed_->setAccessTime(date);
    }
  }

  void set(int key, int object, const std::vector<int>& listed) {
    expire(listed);
    cache_->setObject_forKey(object, key);
    items_[key] = {object, clock_.absoluteTime()};
  }

  SettableClock clock_{1000};
  const NSUInteger fixedCount_;
  Ref<NumberingGenerator> generator_;
  Ref<OVCache> cache_;
  Ref<OVCacheItem> removed_;
  std::map<int, Item> items_;
  int generated_ = 0;
};

}  // namespace kestova::testing
