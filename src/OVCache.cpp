// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVCache.h>
#include <KestovaFoundation/OVCacheLRUExpiryPolicy.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>

#include <algorithm>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVCache, .property<&OVCache::count>("count"))

OVCache::OVCache(Ref<OVCacheGenerator> generator, Ref<OVCacheExpiryPolicy> policy)
    : generator_(std::move(generator)),
      expiryPolicy_(std::move(policy)),
      store_(NSMutableDictionary::dictionary()) {}

OVCache::~OVCache() {
  for (OVCacheItem* const item : items_) {
    item->cache_ = nullptr;
  }
}

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
  makeRoom();
  const auto replaced = storedItem(item->key());
  store_->setObject_forKey(item, item->key());
  list(*item, isListed(replaced) ? replaced->place_ : items_.size());
}

/// For one more item: memory that isn't there is missed before anything has changed.
void OVCache::makeRoom() {
  if (items_.size() == std::min(items_.capacity(), accessTimes_.capacity())) {
    items_.reserve(2 * items_.size() + 1);
    accessTimes_.reserve(2 * items_.size() + 1);
  }
}

/// Not if the key's own operations have removed it meanwhile.
bool OVCache::isListed(const Ref<OVCacheItem>& item) const noexcept {
  return item && item->cache_ == this;
}

void OVCache::list(OVCacheItem& item, std::size_t place) {
  if (place == items_.size()) {
    items_.push_back(nullptr);
    accessTimes_.push_back(0);
  } else {
    items_[place]->cache_ = nullptr;
  }
  items_[place] = &item;
  accessTimes_[place] = item.accessSeconds();
  item.cache_ = this;
  item.place_ = place;
}

/// The last item takes the place.
void OVCache::unlist(OVCacheItem& item) noexcept {
  const std::size_t place = item.place_;
  items_[place] = items_.back();
  items_[place]->place_ = place;
  accessTimes_[place] = accessTimes_.back();
  items_.pop_back();
  accessTimes_.pop_back();
  item.cache_ = nullptr;
}

Ref<OVCacheItem> OVCache::cacheItemWithKey(const id& key) const { return storedItem(key); }

/// The store holds nothing but items.
Ref<OVCacheItem> OVCache::storedItem(const id& key) const {
  return Ref<OVCacheItem>::adopt(static_cast<OVCacheItem*>(store_->objectForKey(key).leak()));
}

void OVCache::removeCacheItemWithKey(const id& key) {
  const auto removed = storedItem(key);
  store_->removeObjectForKey(key);
  if (isListed(removed)) {
    unlist(*removed);
  }
}

Ref<NSArray> OVCache::cacheItems() const {
  return NSArray::arrayWithObjects({items_.begin(), items_.end()});
}

NSUInteger OVCache::count() const { return store_->count(); }

Ref<NSString> OVCache::description() const { return store_->description(); }

}  // namespace kestova
