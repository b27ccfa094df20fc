// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/OVMutableCaseInsensitiveStringDictionary.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSSet.h>

#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace kestova::testing {

/// A case-insensitive dictionary beside a plain model of its maps, both led through the same
/// choices. `Choices` has `below(limit)`.
class StringDictionaryRun {
 public:
  /// Does one operation; answers whether dictionary and model still agree.
  template <class Choices>
  bool step(Choices& choices) {
    const std::string key = kSpellings[choices.below(std::size(kSpellings))];
    const id object = objects_->objectAtIndex(choices.below(objects_->count()));
    switch (choices.below(16)) {
      case 0:
        dictionary_->removeAllObjects();
        dict_.clear();
        lowerToVariants_.clear();
        variantToLower_.clear();
        break;
      case 1:
      case 2:
      case 3:
        dictionary_->removeObjectForKey(key);
        remove(key);
        break;
      case 4:
      case 5:
      case 6:
      case 7:
      case 8:
        return dictionary_->objectForKey(key) == find(key) && agrees();
      default:
        dictionary_->setObject_forKey(object, key);
        set(object, key);
        break;
    }
    return agrees();
  }

 private:
  static constexpr const char* kSpellings[] = {"foo", "Foo", "FOO", "fOo", "bar",
                                               "BAR", "é",   "É",   "ß",   "i̇"};

  static std::string lowered(const std::string& key) {
    return Ref<NSString>(key)->lowercaseString()->displayUTF8();
  }

  template <class Map>
  static auto found(const Map& map, const std::string& key) {
    const auto place = map.find(key);
    return place == map.end() ? typename Map::mapped_type() : place->second;
  }

  void addVariant(const std::string& variant, const std::string& lower) {
    lowerToVariants_[lower].insert(variant);
    variantToLower_[variant] = lower;
    variantToLower_[lower] = lower;
  }

  void setVariants(const id& object, const std::string& lower) {
    for (const std::string& spelling : found(lowerToVariants_, lower)) {
      dict_[spelling] = object;
    }
  }

  void set(const id& object, const std::string& key) {
    const id existing = found(dict_, key);
    if (existing == object) {
      return;
    }
    if (existing) {
      setVariants(object, found(variantToLower_, key));
      return;
    }
    if (!variantToLower_.contains(key)) {
      const std::string lower = lowered(key);
      dict_[key] = object;
      dict_[lower] = object;
      addVariant(key, lower);
      return;
    }
    const std::string lower = variantToLower_.at(key);
    setVariants(object, lower);
    dict_[key] = object;
    addVariant(key, lower);
  }

  id find(const std::string& key) {
    if (const id object = found(dict_, key)) {
      return object;
    }
    if (variantToLower_.contains(key)) {
      return found(dict_, variantToLower_.at(key));
    }
    const std::string lower = lowered(key);
    const id object = found(dict_, lower);
    if (object) {
      dict_[key] = object;
      addVariant(key, lower);
    }
    return object;
  }

  void remove(const std::string& key) {
    const std::string lower =
        variantToLower_.contains(key) ? variantToLower_.at(key) : lowered(key);
    if (!dict_.contains(lower)) {
      return;
    }
    dict_.erase(lower);
    for (const std::string& spelling : found(lowerToVariants_, lower)) {
      variantToLower_.erase(spelling);
    }
    lowerToVariants_.erase(lower);
  }

  bool agrees() const {
    const auto keys = dictionary_->allKeys();
    const auto values = dictionary_->allValues();
    if (keys->count() != lowerToVariants_.size() || values->count() != keys->count()) {
      return false;
    }
    for (NSUInteger index = 0; index < keys->count(); ++index) {
      const std::string lower = keys->objectAtIndex(index)->description()->displayUTF8();
      if (!lowerToVariants_.contains(lower) ||
          values->objectAtIndex(index) != found(dict_, lower)) {
        return false;
      }
    }
    return true;
  }

  const Ref<NSArray> objects_ = NSArray::of(1, 2, 3);
  const Ref<OVMutableCaseInsensitiveStringDictionary> dictionary_ =
      OVMutableCaseInsensitiveStringDictionary::init();
  std::map<std::string, id> dict_;
  std::map<std::string, std::set<std::string>> lowerToVariants_;
  std::map<std::string, std::string> variantToLower_;
};

}  // namespace kestova::testing
