// SPDX-License-Identifier: Apache-2.0
#include "interface/InterfaceFile.h"

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>

#include <algorithm>
#include <initializer_list>

namespace kestova {
namespace {

/// One dictionary of the file, with the place that faults in it are told of.
class Entries {
 public:
  Entries(const id& object, Ref<NSString> place)
      : entries_(cast<NSDictionary>(object)), place_(std::move(place)) {
    if (!entries_) {
      failInterface(place_, "This is no dictionary.");
    }
  }

  const Ref<NSString>& place() const { return place_; }

  /// Refuses what the format doesn't know: it would be meant and not done.
  void allowOnly(std::initializer_list<const char*> names) const {
    for (const id& key : entries_) {
      const auto name = cast<NSString>(key);
      if (std::ranges::none_of(names, [&](const char* each) { return name->isEqual(each); })) {
        failInterface(place_, NSString::stringWithFormat("\"%@\" has no meaning here.", name));
      }
    }
  }

  /// The entry of that class; null when there is none.
  template <class T>
  Ref<T> optional(const char* name) const {
    const id entry = entries_->objectForKey(name);
    const auto value = cast<T>(entry);
    if (entry && !value) {
      failInterface(place_, NSString::stringWithFormat("\"%s\" is of the wrong kind.", name));
    }
    return value;
  }

  template <class T>
  Ref<T> required(const char* name) const {
    const auto value = optional<T>(name);
    if (!value) {
      failInterface(place_, NSString::stringWithFormat("\"%s\" is missing.", name));
    }
    return value;
  }

  Ref<NSString> filledText(const char* name) const {
    const auto text = required<NSString>(name);
    if (text->length() == 0) {
      failInterface(place_, NSString::stringWithFormat("\"%s\" is empty.", name));
    }
    return text;
  }

  /// The objects of a list, which may be missing.
  Ref<NSArray> list(const char* name, std::size_t most) const {
    const auto list = optional<NSArray>(name);
    if (list && list->count() > most) {
      failInterface(name, NSString::stringWithFormat("There are %lu; %lu is the most.",
                                                     list->count(), NSUInteger{most}));
    }
    return list ? list : NSArray::array();
  }

 private:
  const Ref<NSDictionary> entries_;
  const Ref<NSString> place_;
};

constexpr const char* kOwnerName = "owner";

class InterfaceReader {
 public:
  InterfaceFile read(const id& propertyList) {
    const Entries top(propertyList, "top");
    top.allowOnly({"version", "objects", "connections"});
    if (!top.required<NSNumber>("version")->isEqual(1)) {
      failInterface("top", "\"version\" is not 1.");
    }
    for (const id& object : top.list("objects", InterfaceFile::kMostObjects)) {
      readObject({object, placeIn("objects", file_.objects.size())});
    }
    for (const id& connection : top.list("connections", InterfaceFile::kMostConnections)) {
      readConnection({connection, placeIn("connections", file_.connections.size())});
    }
    return std::move(file_);
  }

 private:
  void readObject(const Entries& entries) {
    entries.allowOnly({"id", "class", "values", "topLevel"});
    const auto name = entries.filledText("id");
    if (name->isEqual(kOwnerName) || indexes_->objectForKey(name)) {
      failInterface(entries.place(),
                    NSString::stringWithFormat("The id \"%@\" is that of another object.", name));
    }
    indexes_->setObject_forKey(file_.objects.size(), name);
    const auto values = entries.optional<NSDictionary>("values");
    const auto isTopLevel = entries.optional<NSNumber>("topLevel");
    file_.objects.push_back({entries.filledText("class"),
                             values ? values : NSDictionary::dictionary(),
                             !isTopLevel || isTopLevel->boolValue()});
  }

  void readConnection(const Entries& entries) {
    entries.allowOnly({"from", "key", "to"});
    file_.connections.push_back(
        {objectNamed("from", entries), entries.filledText("key"), objectNamed("to", entries)});
  }

  std::size_t objectNamed(const char* end, const Entries& entries) const {
    const auto name = entries.filledText(end);
    if (name->isEqual(kOwnerName)) {
      return InterfaceConnection::kOwner;
    }
    const auto index = cast<NSNumber>(indexes_->objectForKey(name));
    if (!index) {
      failInterface(entries.place(),
                    NSString::stringWithFormat("There is no object with the id \"%@\".", name));
    }
    return index->unsignedIntegerValue();
  }

  InterfaceFile file_;
  const Ref<NSMutableDictionary> indexes_ = NSMutableDictionary::dictionary();
};

}  // namespace

void failInterface(const Ref<NSString>& where, const Ref<NSString>& what) {
  throw InterfaceFault{NSString::stringWithFormat("%@: %@", where, what)};
}

Ref<NSString> placeIn(const char* list, std::size_t index) {
  return NSString::stringWithFormat("%s[%lu]", list, NSUInteger{index});
}

InterfaceFile InterfaceFile::read(const Ref<NSData>& data) {
  if (data && data->length() > kMostBytes) {
    failInterface("top", "The file is too large.");
  }
  Ref<NSError> error;
  const id propertyList = NSPropertyListSerialization::propertyListWithData_options_format_error(
      data, NSPropertyListImmutable, nullptr, &error);
  if (!propertyList) {
    throw InterfaceFault{error->localizedDescription()};
  }
  return InterfaceReader().read(propertyList);
}

}  // namespace kestova
