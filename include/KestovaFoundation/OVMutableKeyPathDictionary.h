// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSObject.h>

#include <vector>

namespace kestova {

/// Objects in a tree of dictionaries, by a path of keys from the top.
///
///     auto settings = OVMutableKeyPathDictionary::init();
///     settings->setObject_forKeys(12, "editor", "font", "size");
///     id size = settings->objectForKeys("editor", "font", "size");     // 12
///     id font = settings->objectForKeys("editor", "font");             // {size = 12}
///
/// Levels that are missing are made, deliberately also where something is to be removed; a level
/// that becomes empty stays. All levels below the top are plain NSMutableDictionaries. A path that
/// leads through an object that is no dictionary is the caller's error: it throws
/// NSInvalidArgumentException, as does a null object; what was made on the way stays.
///
/// A path is an array of keys (null is an empty one) or the keys themselves, of which a null one
/// ends the list. A list of no keys, where one is needed, is a broken contract.
///
/// A subclass overrides `setup` to have another top level, and makes its objects with
/// `initialised`.
///
/// Threads: one at a time.
class KESTOVA_FOUNDATION_EXPORT OVMutableKeyPathDictionary : public NSObject {
  KESTOVA_CLASS(OVMutableKeyPathDictionary, NSObject)

 public:
  /// An empty one.
  static Ref<OVMutableKeyPathDictionary> init();

  /// The keys of the top level.
  Ref<NSArray> allKeys() const;

  /// \name Storing
  /// Puts an object in place of the one at the path. An empty path stores nothing.
  /// @{
  void setObject_forKeyPath(const id& object, const Ref<NSArray>& keyPath);

  /// At least one key.
  template <class... Keys>
  void setObject_forKeys(const id& object, const Keys&... keys) {
    setObject_forKeyPath(object, pathOfAtLeastOne({id(keys)...}));
  }
  /// @}
  /// \name Finding
  /// The object at the path, null when there is none; the top level itself for an empty path.
  /// @{
  id objectForKeyPath(const Ref<NSArray>& keyPath) const;

  template <class... Keys>
  id objectForKeys(const Keys&... keys) const {
    return objectForKeyPath(pathOf({id(keys)...}));
  }
  /// @}
  /// \name Removing
  /// Removes the object at the path, if there is one. An empty path removes nothing.
  /// @{
  void removeObjectForKeyPath(const Ref<NSArray>& keyPath);

  /// At least one key.
  template <class... Keys>
  void removeObjectForKeys(const Keys&... keys) {
    removeObjectForKeyPath(pathOfAtLeastOne({id(keys)...}));
  }
  /// @}

 protected:
  OVMutableKeyPathDictionary() = default;

  /// A new object of a class, set up: what its `init` answers.
  template <class T>
  static Ref<T> initialised() {
    const auto dictionary = make<T>();
    static_cast<OVMutableKeyPathDictionary&>(*dictionary).setup();
    return dictionary;
  }

  /// Chooses the class of the top level and makes it: an NSMutableDictionary, one of a subclass, or
  /// an OVMutableCaseInsensitiveStringDictionary. Called once, before anything else.
  virtual void setup();

  const Class* _dictClass = nullptr;
  /// The top level.
  id _rootDict;

 private:
  static Ref<NSArray> pathOf(std::vector<id> keys);
  static Ref<NSArray> pathOfAtLeastOne(std::vector<id> keys);

  id levelAbove(const Ref<NSArray>& keyPath);
};

}  // namespace kestova
