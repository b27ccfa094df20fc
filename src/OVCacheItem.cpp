// SPDX-License-Identifier: Apache-2.0
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

namespace {

/// No date comes before all others.
NSTimeInterval secondsOf(const Ref<NSDate>& date) {
  return date ? date->timeIntervalSinceReferenceDate()
              : -std::numeric_limits<NSTimeInterval>::infinity();
}

}  // namespace

OVCacheItem::OVCacheItem(id object, id key)
    : creationTime_(NSDate::date()),
      accessTime_(NSDate::distantPast()),
      object_(std::move(object)),
      key_(std::move(key)),
      accessSeconds_(secondsOf(accessTime_)) {}

Ref<OVCacheItem> OVCacheItem::initWithObject_key(const id& object, const id& key) {
  return make<OVCacheItem>(object, key);
}

void OVCacheItem::setAccessTime(const Ref<NSDate>& time) {
  const KeyValueChange change(*this, "accessTime");
  accessTime_ = time;
  accessSeconds_ = secondsOf(time);
}

}  // namespace kestova
