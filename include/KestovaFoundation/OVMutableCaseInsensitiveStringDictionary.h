// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSRecursiveLock.h>
#include <KestovaPlatform/NSString.h>

#include <vector>

namespace kestova {

/// Objects by strings that are found in any letter case.
///
///     auto headers = OVMutableCaseInsensitiveStringDictionary::init();
///     headers->setObject_forKey("text/plain", "Content-Type");
///     id type = headers->objectForKey("content-type");     // "text/plain"
///
/// An entry goes by the lowercase form of its keys (full Unicode, the same in every locale). The
/// dictionary remembers each spelling under which an object was set or found, and answers for it
/// without changing case again. Three things follow, all of them deliberate:
///
/// - Setting another object under a spelling that is there reaches the remembered spellings only.
///   The lowercase form is one of them if it was itself set or asked for; otherwise it keeps the
///   first object, and so do `allValues` and every spelling that was never seen.
/// - An entry that was removed is gone for its lowercase form, but the remembered spellings go on
///   answering the removed object. Setting an object under such a spelling does nothing; setting
///   one under the lowercase form brings the entry back.
/// - Asking remembers: a dictionary grows by each spelling that it is asked with.
///
/// It is no NSDictionary and offers no more than what is here. Keys are copied, objects shared. A
/// null object or key throws NSInvalidArgumentException where something is set and changes nothing;
/// a null key is found nowhere.
///
/// Threads: any; each operation holds a lock of the dictionary's own from beginning to end. Objects
/// that go are let go of afterwards, when the operation is complete; they may use the dictionary.
class KESTOVA_FOUNDATION_EXPORT OVMutableCaseInsensitiveStringDictionary : public NSObject {
  KESTOVA_CLASS(OVMutableCaseInsensitiveStringDictionary, NSObject)

 public:
  /// An empty one.
  static Ref<OVMutableCaseInsensitiveStringDictionary> init();

  /// Puts an object under the key, in place of the one there. The very same object under a spelling
  /// that is there already changes nothing.
  void setObject_forKey(const id& object, const Ref<NSString>& key);

  /// The object under the key in any letter case; null when there is none.
  id objectForKey(const Ref<NSString>& key);

  /// Removes the entry that the key is a spelling of; nothing happens when there is none.
  void removeObjectForKey(const Ref<NSString>& key);

  /// Removes everything, remembered spellings included.
  void removeAllObjects();

  /// The lowercase form of each entry, in no particular order.
  Ref<NSArray> allKeys() const;

  /// The object under each of the lowercase forms, in the order of `allKeys`.
  Ref<NSArray> allValues() const;

 protected:
  OVMutableCaseInsensitiveStringDictionary();

 private:
  void _addVariant_forLower(const Ref<NSString>& variant, const Ref<NSString>& lower);
  void setObject_forVariantsOf(const id& object, const id& lower, std::vector<id>& replaced);

  /// Objects by every remembered spelling and by each lowercase form.
  const Ref<NSMutableDictionary> _dict;
  /// The set of remembered spellings by the lowercase form of an entry.
  const Ref<NSMutableDictionary> _lowerToVariants;
  /// The lowercase form by each remembered spelling, and by itself.
  const Ref<NSMutableDictionary> _variantToLower;
  const Ref<NSRecursiveLock> lock_;
};

}  // namespace kestova
