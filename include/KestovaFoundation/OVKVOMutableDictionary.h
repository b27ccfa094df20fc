// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSDictionary.h>

namespace kestova {

/// A mutable dictionary with strings for keys whose keys can be observed as properties.
///
///     auto figures = OVKVOMutableDictionary::initWithObjects_forKeys(NSArray::array(),
///                                                                    NSArray::array());
///     figures->addObserver_forKeyPath_options_context(this, "total", options, nullptr);
///     figures->setObject_forKey(42, "total");        // tells the observer
///
/// Every call that sets or removes a key is announced as one change of the property of that name,
/// deliberately also where nothing changes: removing what is not there, setting what is equal.
/// Setting or removing under a key that is no string is a broken contract; null is none. Every
/// other operation is NSMutableDictionary's own.
///
/// Threads: one at a time; observers are told on it.
class KESTOVA_FOUNDATION_EXPORT OVKVOMutableDictionary : public NSMutableDictionary {
  KESTOVA_CLASS(OVKVOMutableDictionary, NSMutableDictionary)

 public:
  /// Each object under the key at the same place; two empty arrays make an empty dictionary. Null
  /// is an empty array. Throws NSInvalidArgumentException when there are more of one than of the
  /// other.
  static Ref<OVKVOMutableDictionary> initWithObjects_forKeys(const Ref<NSArray>& objects,
                                                             const Ref<NSArray>& keys);

  NSUInteger count() const override;
  id objectForKey(const id& key) const override;
  Ref<NSEnumerator> keyEnumerator() const override;
  void setObject_forKey(const id& object, const id& key) override;
  void removeObjectForKey(const id& key) override;

 protected:
  explicit OVKVOMutableDictionary(Ref<NSMutableDictionary> dictionary) noexcept;

 private:
  const Ref<NSMutableDictionary> _dictionary;
};

}  // namespace kestova
