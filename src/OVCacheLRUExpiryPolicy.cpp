// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVCache.h>
#include <KestovaFoundation/OVCacheLRUExpiryPolicy.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSSortDescriptor.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <typeinfo>
#include <vector>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVCacheLRUExpiryPolicy)

namespace {

/// Whether nobody can tell if the cache was asked for its items, which spares the array of them.
bool isPlain(const OVCache& cache) { return typeid(cache) == typeid(OVCache); }

/// A subclass may have listed anything.
void requireItems(const Ref<NSArray>& items) {
  for (const id& item : items) {
    require(cast<OVCacheItem>(item) != nullptr, "cacheItems lists items only");
  }
}

/// Where the least of the numbers is first; there is one at least. What is no number is never less
/// than another one. The least of each column is found on its own, so that none waits for the one
/// before.
std::size_t placeOfLeast(const std::vector<double>& numbers) {
  constexpr std::size_t kColumns = 8;
  std::array<double, kColumns> least;
  least.fill(numbers.front());
  std::size_t place = 0;
  for (; place + kColumns <= numbers.size(); place += kColumns) {
    for (std::size_t column = 0; column < kColumns; ++column) {
      least[column] = std::min(least[column], numbers[place + column]);
    }
  }
  for (; place < numbers.size(); ++place) {
    least[0] = std::min(least[0], numbers[place]);
  }
  const auto found = std::ranges::find(numbers, *std::ranges::min_element(least));
  return found == numbers.end() ? 0 : static_cast<std::size_t>(found - numbers.begin());
}

void removeItem(OVCache& cache, const OVCacheItem* item) {
  if (item != nullptr) {
    const id key = item->key();  // the item may go before its key has served
    cache.removeCacheItemWithKey(key);
  }
}

}  // namespace

/// The item that the sort descriptors would put first.
const OVCacheItem* OVCacheLRUExpiryPolicy::leastRecentlyAccessed(const OVCache& cache) {
  return cache.items_.empty() ? nullptr : cache.items_[placeOfLeast(cache.accessTimes_)];
}

const OVCacheItem* OVCacheLRUExpiryPolicy::leastRecentlyAccessed(const Ref<NSArray>& items) {
  const OVCacheItem* oldest = nullptr;
  for (const id& object : items) {
    const auto& item = static_cast<const OVCacheItem&>(*object);
    if (oldest == nullptr || item.accessSeconds() < oldest->accessSeconds()) {
      oldest = &item;
    }
  }
  return oldest;
}

OVCacheLRUExpiryPolicy::OVCacheLRUExpiryPolicy(NSUInteger count)
    : count_(count),
      sortDescriptors_(
          NSArray::of(NSSortDescriptor::sortDescriptorWithKey_ascending("accessTime", true))) {}

Ref<OVCacheLRUExpiryPolicy> OVCacheLRUExpiryPolicy::initWithFixedCount(NSUInteger count) {
  return make<OVCacheLRUExpiryPolicy>(count);
}

void OVCacheLRUExpiryPolicy::preInsertExpireFrom(const Ref<OVCache>& cache) {
  if (isPlain(*cache) && cache->count() <= count_) {
    if (cache->count() == count_) {
      removeItem(*cache, leastRecentlyAccessed(*cache));
    }
    return;
  }
  const auto items = cache->cacheItems();
  requireItems(items);
  if (items->count() == count_) {
    removeItem(*cache, leastRecentlyAccessed(items));
  } else if (items->count() > count_) {
    for (const id& item : items->sortedArrayUsingDescriptors(sortDescriptors_)) {
      removeItem(*cache, static_cast<const OVCacheItem*>(item.get()));
    }
  }
}

}  // namespace kestova
