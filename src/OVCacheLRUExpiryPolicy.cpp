// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVCache.h>
#include <KestovaFoundation/OVCacheLRUExpiryPolicy.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSSortDescriptor.h>

#include <typeinfo>

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

void removeItem(OVCache& cache, const OVCacheItem* item) {
  if (item != nullptr) {
    const id key = item->key();  // the item may go before its key has served
    cache.removeCacheItemWithKey(key);
  }
}

}  // namespace

/// The item that the sort descriptors would put first.
template <class Items>
const OVCacheItem* OVCacheLRUExpiryPolicy::leastRecentlyAccessed(const Items& items) {
  const OVCacheItem* oldest = nullptr;
  for (const id& object : items) {
    const auto& item = static_cast<const OVCacheItem&>(*object);
    if (oldest == nullptr || item.accessSeconds_ < oldest->accessSeconds_) {
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
      removeItem(*cache, leastRecentlyAccessed(cache->store_->objects()));
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
