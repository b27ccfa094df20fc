// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSObject.h>

namespace kestova {

/// Makes the objects of an OVCache that it does not hold yet. A program subclasses it:
///
///     class Thumbnails : public OVCacheGenerator {
///      public:
///       id generateObjectForKey(const id& path) override { return thumbnailOfFile(path); }
///     };
///
/// Threads: called on the thread that asks the cache, with no lock held. It may use the cache.
class KESTOVA_FOUNDATION_EXPORT OVCacheGenerator : public NSObject {
  KESTOVA_CLASS(OVCacheGenerator, NSObject)

 public:
  /// The object to keep for the key. Null is kept as every other answer is, so the generator is not
  /// asked again.
  virtual id generateObjectForKey(const id& key) = 0;

 protected:
  OVCacheGenerator() = default;
};

}  // namespace kestova
