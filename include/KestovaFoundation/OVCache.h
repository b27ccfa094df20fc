// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaFoundation/OVCacheExpiryPolicy.h>
#include <KestovaFoundation/OVCacheGenerator.h>
#include <KestovaFoundation/OVCacheItem.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>

#include <cstddef>
#include <vector>

namespace kestova {

/// Keeps objects by key, makes those that it does not have yet, and gives up those that are too
/// many.
///
///     auto thumbnails = OVCache::lruCacheWithGenerator_fixedCount(make<Thumbnails>(), 200);
///     id thumbnail = thumbnails->objectForKey(path);      // made at most once while it is kept
///
///     auto recent = OVCache::lruCacheWithFixedCount(20);  // filled by hand
///     recent->setObject_forKey(document, path);
///
/// A cache has two helpers, both optional and fixed when it is made. The generator makes the object
/// for a key that is asked for and not there; such a cache is never filled by hand. The expiry
/// policy is asked before each item that comes in, and removes what it wants to; without one the
/// cache grows without bound.
///
/// When an item counts as accessed depends on the generator. With one it is each `objectForKey`.
/// Without one it is deliberately the moment it was set: looking it up changes nothing, so that the
/// policy of `lruCacheWithFixedCount` removes what was set the longest ago, however often it was
/// read since.
///
/// The policy is asked before a key is set again, too, for it can't know which key it will be: in a
/// full cache another item goes then, and the cache holds one fewer than its count.
///
/// Keys are compared and copied as those of a dictionary. The cache keeps its generator, its policy
/// and all keys and objects. A null object is kept like any other: it counts, and is not made anew.
///
/// Threads: one at a time. Looking up takes constant time on average; coming in takes time that
/// grows with the number of items once the cache is full. Meant for small caches.
class KESTOVA_FOUNDATION_EXPORT OVCache : public NSObject {
  KESTOVA_CLASS(OVCache, NSObject)

 public:
  /// \name Making
  /// @{

  /// Either may be null.
  static Ref<OVCache> initWithGenerator_expiryPolicy(const Ref<OVCacheGenerator>& generator,
                                                     const Ref<OVCacheExpiryPolicy>& policy);
  static Ref<OVCache> cacheWithGenerator_expiryPolicy(const Ref<OVCacheGenerator>& generator,
                                                      const Ref<OVCacheExpiryPolicy>& policy) {
    return initWithGenerator_expiryPolicy(generator, policy);
  }

  /// A cache that is filled by hand.
  static Ref<OVCache> cacheWithExpiryPolicy(const Ref<OVCacheExpiryPolicy>& policy) {
    return initWithGenerator_expiryPolicy(nullptr, policy);
  }

  /// @}
  /// \name Making one that keeps a fixed number of items (OVLRUCacheConvenience)
  /// See OVCacheLRUExpiryPolicy; a count of 0 keeps one item.
  /// @{
  static Ref<OVCache> lruCacheWithGenerator_fixedCount(const Ref<OVCacheGenerator>& generator,
                                                       NSUInteger count);
  static Ref<OVCache> lruCacheWithFixedCount(NSUInteger count);
  /// @}
  /// \name Objects
  /// @{

  /// The object for the key: the one that is kept, else, with a generator, a new one, which is then
  /// kept. Null when there is none, or when what is kept is null.
  virtual id objectForKey(const id& key);

  /// Keeps an object for the key, in place of the one there. On a cache with a generator it is a
  /// broken contract. A null key throws NSInvalidArgumentException, after the policy was asked.
  virtual void setObject_forKey(const id& object, const id& key);

  /// @}
  /// \name Items
  /// Nothing here counts as an access.
  /// @{

  /// The item for the key: the one that is there, else a new one with what the generator makes,
  /// which was never accessed and is therefore the first to go. Without a generator a new item
  /// holds null.
  virtual Ref<OVCacheItem> generateObjectForKey(const id& key);

  /// The item that is there for the key; null when there is none.
  virtual Ref<OVCacheItem> cacheItemWithKey(const id& key) const;

  /// Removes the item for the key; nothing happens when there is none. Null throws
  /// NSInvalidArgumentException.
  virtual void removeCacheItemWithKey(const id& key);

  /// All items, in no particular order.
  virtual Ref<NSArray> cacheItems() const;

  /// How many items there are, those of null objects included.
  virtual NSUInteger count() const;

  /// @}

  /// What a dictionary of the items by their keys says of itself.
  Ref<NSString> description() const override;

 protected:
  OVCache(Ref<OVCacheGenerator> generator, Ref<OVCacheExpiryPolicy> policy);
  ~OVCache() override;

 private:
  friend class OVCacheItem;
  friend class OVCacheLRUExpiryPolicy;

  void expireAndStore(const Ref<OVCacheItem>& item);
  Ref<OVCacheItem> storedItem(const id& key) const;
  void makeRoom();
  bool isListed(const Ref<OVCacheItem>& item) const noexcept;
  void list(OVCacheItem& item, std::size_t place);
  void unlist(OVCacheItem& item) noexcept;

  const Ref<OVCacheGenerator> generator_;
  const Ref<OVCacheExpiryPolicy> expiryPolicy_;
  const Ref<NSMutableDictionary> store_;

  /// The items in the store, which holds them, and how many seconds after the reference date each
  /// was accessed. Every item knows its place here.
  std::vector<OVCacheItem*> items_;
  std::vector<NSTimeInterval> accessTimes_;
};

}  // namespace kestova
