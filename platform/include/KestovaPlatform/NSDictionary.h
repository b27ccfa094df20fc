// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSEnumerator.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>

#include <initializer_list>

namespace kestova {

class NSURL;

/// Objects by key, immutable here.
///
///     Ref<NSDictionary> person = NSDictionary::of({{"name", "Ada"}, {"age", 36}});
///     Ref<NSString> name = cast<NSString>(person->objectForKey("name"));
///     for (const id& key : person) …
///
/// Keys are compared with `isEqual`, stored as their `copy`, and must not change their `hash` while
/// they are keys. Objects are shared. Neither may be null; NSNull stands for nothing where it is
/// needed. A null dictionary or array counts as an empty one wherever its members are to be taken.
/// The order of the keys is not defined, but the same for every way of walking through one
/// dictionary until it changes.
///
/// A subclass overrides the primitives `count`, `objectForKey` and `keyEnumerator`, and has every
/// other operation then; a subclass whose keys and objects lie in one piece of memory overrides
/// `contiguousEntries` as well.
///
/// Threads: any number of them may read an immutable dictionary at a time. Changing a dictionary
/// while it is walked through is the caller's error. A look-up by key takes constant time on
/// average.
class KESTOVA_PLATFORM_EXPORT NSDictionary : public NSObject {
  KESTOVA_CLASS(NSDictionary, NSObject)

 public:
  /// A key with its object, for `of`.
  struct Entry {
    id key;
    id object;
  };

  /// \name Making
  /// A null key or object throws NSInvalidArgumentException. Of equal keys the last one's object
  /// stays.
  /// @{

  /// The empty dictionary.
  static Ref<NSDictionary> dictionary();

  static Ref<NSDictionary> dictionaryWithObject_forKey(const id& object, const id& key);

  /// Each object under the key at the same place. Throws NSInvalidArgumentException when there are
  /// more of one than of the other.
  static Ref<NSDictionary> dictionaryWithObjects_forKeys(const Ref<NSArray>& objects,
                                                         const Ref<NSArray>& keys);

  /// The same entries; an immutable dictionary of the platform answers itself.
  static Ref<NSDictionary> dictionaryWithDictionary(const Ref<NSDictionary>& dictionary);

  /// The given keys and objects, boxed where they are plain values.
  static Ref<NSDictionary> of(std::initializer_list<Entry> entries);

  /// @}
  /// \name Reading
  /// @{

  /// How many keys there are. A primitive.
  virtual NSUInteger count() const = 0;

  /// The object under an equal key; nothing when there is no such key, and for null. A primitive.
  virtual id objectForKey(const id& key) const = 0;

  virtual Ref<NSArray> allKeys() const;

  /// The objects in the order of their keys; one that is there under several keys comes as often.
  virtual Ref<NSArray> allValues() const;

  /// The keys that an equal object is there under. Walks through the dictionary.
  Ref<NSArray> allKeysForObject(const id& object) const;

  /// @}
  /// \name Walking
  /// @{

  /// The keys. A primitive.
  virtual Ref<NSEnumerator> keyEnumerator() const = 0;

  /// The objects in the order of their keys.
  virtual Ref<NSEnumerator> objectEnumerator() const;

  /// What range-`for` over a reference walks with: the keys.
  MemberIterator members() const {
    const id* first = contiguousEntries();
    return first != nullptr ? MemberIterator(first, count(), 2) : MemberIterator(keyEnumerator());
  }

  /// What range-`for` walks through the objects with, in the order of their keys:
  /// `for (const id& object : dictionary->objects())`.
  MemberRange objects() const {
    const id* first = contiguousEntries();
    return {self(), first != nullptr ? MemberIterator(first + 1, count(), 2)
                                     : MemberIterator(objectEnumerator())};
  }

  /// Calls the block for each entry, on this thread, until it sets its last argument. The cheapest
  /// walk through keys and objects.
  virtual void enumerateKeysAndObjectsUsingBlock(
      const Block<void(const id& key, const id& object, bool* stop)>& block) const;

  /// @}

  /// The object under the key. A key that begins with "@" names a property of the dictionary
  /// itself:
  /// "@count".
  id valueForKey(const Ref<NSString>& key) const override;

  /// \name Files
  /// As property lists (see NSPropertyListSerialization.h): all that is in the dictionary must be
  /// one. All of these block; what fails answers null or false, and so does a URL of no file.
  /// @{

  /// The immutable dictionary at the top of a file in any format.
  static Ref<NSDictionary> dictionaryWithContentsOfFile(const Ref<NSString>& path);
  static Ref<NSDictionary> dictionaryWithContentsOfURL(const Ref<NSURL>& url);

  /// Writes the XML format, whole or not at all when `atomically` is true.
  bool writeToFile_atomically(const Ref<NSString>& path, bool atomically) const;
  bool writeToURL_atomically(const Ref<NSURL>& url, bool atomically) const;

  /// @}

  /// Whether both have equal keys with equal objects. Null is equal to nothing.
  bool isEqualToDictionary(const Ref<NSDictionary>& other) const;

  bool isEqual(const id& other) const override;
  NSUInteger hash() const override;

  /// "{", the entries as "key = object;" on a line each, "}". Keys that all are strings come in
  /// their order. Texts that hold more than letters, digits and a few signs are quoted, collections
  /// indented.
  Ref<NSString> description() const override;

  /// An immutable dictionary of the same entries; the platform's own immutable ones answer
  /// themselves.
  id copy() const override;
  id mutableCopy() const override;

 protected:
  NSDictionary() = default;

  /// The first key, where each key lies before its object and these pairs side by side in memory;
  /// else null, as here. Valid until the dictionary changes.
  virtual const id* contiguousEntries() const { return nullptr; }
};

/// A dictionary that changes.
///
/// A subclass overrides `setObject_forKey` and `removeObjectForKey` besides the primitives of
/// NSDictionary.
///
/// A null key or object throws NSInvalidArgumentException; the dictionary is then as it was. So are
/// the platform's own dictionaries where memory is missing. In a subclass an operation on many
/// entries is one call of a primitive after the other: what was done before one throws stays done.
///
/// Threads: one at a time. Setting and removing take constant time on average.
class KESTOVA_PLATFORM_EXPORT NSMutableDictionary : public NSDictionary {
  KESTOVA_CLASS(NSMutableDictionary, NSDictionary)

 public:
  /// \name Making
  /// @{
  static Ref<NSMutableDictionary> dictionary();
  static Ref<NSMutableDictionary> init() { return dictionary(); }

  /// An empty one with room for that many keys.
  static Ref<NSMutableDictionary> dictionaryWithCapacity(NSUInteger capacity);

  static Ref<NSMutableDictionary> dictionaryWithObject_forKey(const id& object, const id& key);
  static Ref<NSMutableDictionary> dictionaryWithObjects_forKeys(const Ref<NSArray>& objects,
                                                                const Ref<NSArray>& keys);
  static Ref<NSMutableDictionary> dictionaryWithDictionary(const Ref<NSDictionary>& dictionary);
  static Ref<NSMutableDictionary> of(std::initializer_list<Entry> entries);
  /// @}

  /// Puts an object under the key, in place of the one there. A primitive.
  virtual void setObject_forKey(const id& object, const id& key) = 0;

  /// Removes a key and its object; a key that is not there is not removed. A primitive.
  virtual void removeObjectForKey(const id& key) = 0;

  void removeObjectsForKeys(const Ref<NSArray>& keys);
  virtual void removeAllObjects();

  /// Sets every entry of the other dictionary.
  virtual void addEntriesFromDictionary(const Ref<NSDictionary>& other);

  /// Has the entries of the other dictionary and no others.
  virtual void setDictionary(const Ref<NSDictionary>& other);

  /// Sets the object under the key, or removes the key when the value is null. The platform's own
  /// dictionaries announce it as a change of the property of that name; a subclass announces what
  /// it wants to in its primitives.
  void setValue_forKey(const id& value, const Ref<NSString>& key) override;

 protected:
  NSMutableDictionary() = default;
};

}  // namespace kestova
