// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaFoundation/OVCacheExpiryPolicy.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSTypes.h>

namespace kestova {

class OVCacheItem;

/// Keeps a fixed number of items in a cache: removes the one that was accessed the longest ago
/// before another one comes in. Of items accessed at the same moment the one that the cache lists
/// first goes first.
///
/// The cache tells when an item counts as accessed: see OVCache. A policy keeps nothing about a
/// cache, so one may serve several.
///
/// Threads: immutable; it works on the thread that fills the cache. The time that it takes grows
/// with the number of items.
class KESTOVA_FOUNDATION_EXPORT OVCacheLRUExpiryPolicy : public OVCacheExpiryPolicy {
  KESTOVA_CLASS(OVCacheLRUExpiryPolicy, OVCacheExpiryPolicy)

 public:
  /// A count of 0 keeps one item all the same: the one that came last.
  static Ref<OVCacheLRUExpiryPolicy> initWithFixedCount(NSUInteger count);
  static Ref<OVCacheLRUExpiryPolicy> lruExpiryPolicyWithFixedCount(NSUInteger count) {
    return initWithFixedCount(count);
  }

  /// Does nothing while the cache holds fewer items than the fixed count. With just as many it
  /// removes the least recently accessed one, with more it deliberately removes all of them, the
  /// least recently accessed first.
  void preInsertExpireFrom(const Ref<OVCache>& cache) override;

 protected:
  explicit OVCacheLRUExpiryPolicy(NSUInteger count);

 private:
  static const OVCacheItem* leastRecentlyAccessed(const OVCache& cache);
  static const OVCacheItem* leastRecentlyAccessed(const Ref<NSArray>& items);

  const NSUInteger count_;
  const Ref<NSArray> sortDescriptors_;
};

}  // namespace kestova
