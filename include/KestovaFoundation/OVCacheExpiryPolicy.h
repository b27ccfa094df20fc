// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSObject.h>

namespace kestova {

class OVCache;

/// Decides what an OVCache gives up. A policy that keeps nothing about a cache may serve several.
///
/// Threads: called on the thread that fills the cache, with no lock held.
class KESTOVA_FOUNDATION_EXPORT OVCacheExpiryPolicy : public NSObject {
  KESTOVA_CLASS(OVCacheExpiryPolicy, NSObject)

 public:
  /// Called when the cache is about to take an item in. Reads the items that it holds with
  /// `cacheItems` and removes some of them, or none, with `removeCacheItemWithKey`.
  virtual void preInsertExpireFrom(const Ref<OVCache>& cache) = 0;

 protected:
  OVCacheExpiryPolicy() = default;
};

}  // namespace kestova
