// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVCache.h>
#include <KestovaFoundation/OVCacheLRUExpiryPolicy.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>

#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVCache, .property<&OVCache::count>("count"))

OVCache::OVCache(Ref<OVCacheGenerator> generator, Ref<OVCacheExpiryPolicy> policy)
    : generator_(std::move(generator)),
      expiryPolicy_(std::move(policy)),
      store_(NSMutableDictionary::dictionary()) {}

Ref<OVCache> OVCache::initWithGenerator_expiryPolicy(const Ref<OVCacheGenerator>& generator,
                                                     const Ref<OVCacheExpiryPolicy>& policy) {
  return make<OVCache>(generator, policy);
}

Ref<OVCache> OVCache::lruCacheWithGenerator_fixedCount(const Ref<OVCacheGenerator>& generator,
                                                       NSUInteger count) {
  return cacheWithGenerator_expiryPolicy(
      generator, OVCacheLRUExpiryPolicy::lruExpiryPolicyWithFixedCount(count));
}

Ref<OVCache> OVCache::lruCacheWithFixedCount(NSUInteger count) {
  return cacheWithExpiryPolicy(OVCacheLRUExpiryPolicy::lruExpiryPolicyWithFixedCount(count));
}

id OVCache::objectForKey(const id& key) {
  Ref<OVCacheItem> item = cacheItemWithKey(key);
  if (generator_) {
    if (!item) {
      item = generateObjectForKey(key);
    }
    item->setAccessTime(NSDate::date());
  }
  return item ? item->object() : nullptr;
}

void OVCache::setObject_forKey(const id& object, const id& key) {
  require(!generator_, "setObject:forKey: called on cache with generator",
          {"OVCache", "-[OVCache setObject:forKey:]", 146});
  const auto item = OVCacheItem::cacheItemWithObject_key(object, key);
  expireAndStore(item);
  item->setAccessTime(NSDate::date());
}

Ref<OVCacheItem> OVCache::generateObjectForKey(const id& key) {
  if (const auto existing = cacheItemWithKey(key)) {
    return existing;
  }
  const id object = generator_ ? generator_->generateObjectForKey(key) : nullptr;
  const auto item = OVCacheItem::cacheItemWithObject_key(object, key);
  expireAndStore(item);
  return item;
}

void OVCache::expireAndStore(const Ref<OVCacheItem>& item) {
  if (expiryPolicy_) {
    expiryPolicy_->preInsertExpireFrom(Ref<OVCache>(this));
  }
  store_->setObject_forKey(item, item->key());
}

/// The store holds nothing but items.
Ref<OVCacheItem> OVCache::cacheItemWithKey(const id& key) const {
  return Ref<OVCacheItem>::adopt(static_cast<OVCacheItem*>(store_->objectForKey(key).leak()));
}

void OVCache::removeCacheItemWithKey(const id& key) { store_->removeObjectForKey(key); }

Ref<NSArray> OVCache::cacheItems() const { return store_->allValues(); }

NSUInteger OVCache::count() const { return store_->count(); }

Ref<NSString> OVCache::description() const { return store_->description(); }

}  // namespace kestova
