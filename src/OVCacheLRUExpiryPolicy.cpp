// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVCache.h>
#include <KestovaFoundation/OVCacheLRUExpiryPolicy.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSSortDescriptor.h>

#include <typeinfo>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVCacheLRUExpiryPolicy)

namespace {

/// In the order of the policy's sort descriptors: a moment that is nothing comes first.
bool isEarlier(const Ref<NSDate>& a, const Ref<NSDate>& b) {
  return b && (!a || a->timeIntervalSinceReferenceDate() < b->timeIntervalSinceReferenceDate());
}

/// The item that sorting would put first.
template <class Items>
const OVCacheItem* leastRecentlyAccessed(const Items& items) {
  const OVCacheItem* oldest = nullptr;
  for (const id& object : items) {
    const auto& item = static_cast<const OVCacheItem&>(*object);
    if (oldest == nullptr || isEarlier(item.accessTime(), oldest->accessTime())) {
      oldest = &item;
    }
  }
  return oldest;
}

/// Whether nobody can tell if the cache was asked for its items, which spares the array of them.
bool isPlain(const OVCache& cache) { return typeid(cache) == typeid(OVCache); }

void removeItem(OVCache& cache, const OVCacheItem* item) {
  if (item != nullptr) {
    const id key = item->key();  // the item may go before its key has served
    cache.removeCacheItemWithKey(key);
  }
}

}  // namespace

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
      removeItem(*cache, leastRecentlyAccessed(cache->store_->objects()));
    }
    return;
  }
  const auto items = cache->cacheItems();
  if (items->count() == count_) {
    removeItem(*cache, leastRecentlyAccessed(items));
  } else if (items->count() > count_) {
    for (const id& item : items->sortedArrayUsingDescriptors(sortDescriptors_)) {
      removeItem(*cache, cast<OVCacheItem>(item).get());
    }
  }
}

}  // namespace kestova
