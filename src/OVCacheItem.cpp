// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVCache.h>
#include <KestovaFoundation/OVCacheItem.h>
#include <KestovaPlatform/Class.h>

#include <limits>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(
    OVCacheItem, .property<&OVCacheItem::creationTime>("creationTime")
                     .property<&OVCacheItem::accessTime, &OVCacheItem::setAccessTime>("accessTime")
                     .property<&OVCacheItem::object>("object")
                     .property<&OVCacheItem::key>("key"))

OVCacheItem::OVCacheItem(id object, id key)
    : creationTime_(NSDate::date()),
      accessTime_(NSDate::distantPast()),
      object_(std::move(object)),
      key_(std::move(key)) {}

OVCacheItem::~OVCacheItem() {
  if (cache_ != nullptr) {
    cache_->unlist(*this);
  }
}

Ref<OVCacheItem> OVCacheItem::initWithObject_key(const id& object, const id& key) {
  return make<OVCacheItem>(object, key);
}

void OVCacheItem::setAccessTime(const Ref<NSDate>& time) {
  const KeyValueChange change(*this, "accessTime");
  accessTime_ = time;
  if (cache_ != nullptr) {
    cache_->accessTimes_[place_] = accessSeconds();
  }
}

/// Since the reference date; no date comes before all others.
NSTimeInterval OVCacheItem::accessSeconds() const noexcept {
  return accessTime_ ? accessTime_->timeIntervalSinceReferenceDate()
                     : -std::numeric_limits<NSTimeInterval>::infinity();
}

}  // namespace kestova
