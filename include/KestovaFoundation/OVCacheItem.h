// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

#include <cstddef>

namespace kestova {

class OVCache;

/// What an OVCache holds under a key: the object, and when it was made and last used.
///
/// Threads: one at a time. It shares key, object and dates with whoever else has them.
class KESTOVA_FOUNDATION_EXPORT OVCacheItem : public NSObject {
  KESTOVA_CLASS(OVCacheItem, NSObject)

 public:
  /// A new item, made now and not used yet. The object may be null.
  static Ref<OVCacheItem> initWithObject_key(const id& object, const id& key);
  static Ref<OVCacheItem> cacheItemWithObject_key(const id& object, const id& key) {
    return initWithObject_key(object, key);
  }

  /// When the item was made.
  const Ref<NSDate>& creationTime() const noexcept { return creationTime_; }

  /// When it was last used; the distant past until then.
  const Ref<NSDate>& accessTime() const noexcept { return accessTime_; }
  void setAccessTime(const Ref<NSDate>& time);

  /// The object that is kept, which may be null.
  const id& object() const noexcept { return object_; }

  /// What it is kept under.
  const id& key() const noexcept { return key_; }

 protected:
  OVCacheItem(id object, id key);
  ~OVCacheItem() override;

 private:
  friend class OVCache;
  friend class OVCacheLRUExpiryPolicy;

  NSTimeInterval accessSeconds() const noexcept;

  const Ref<NSDate> creationTime_;
  Ref<NSDate> accessTime_;
  const id object_;
  const id key_;

  /// The cache that lists the item, not held, and where.
  OVCache* cache_ = nullptr;
  std::size_t place_ = 0;
};

}  // namespace kestova
