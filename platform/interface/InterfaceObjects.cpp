// SPDX-License-Identifier: Apache-2.0
#include "interface/InterfaceObjects.h"

#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>

#include <exception>
#include <utility>

namespace kestova {
namespace {

/// Runs what may throw because of the file; that is then a fault in it.
template <class Action>
void blaming(const Ref<NSString>& place, const Action& action) {
  try {
    action();
  } catch (const NSException& exception) {
    failInterface(place, exception.reason() ? exception.reason() : exception.name());
  }
}

/// A property of another type takes an object for nothing, in silence.
void setValue(NSObject& object, const id& value, const Ref<NSString>& key) {
  object.setValue_forKey(value, key);
  if (!object.valueForKey(key)) {
    throw NSException(NSInvalidArgumentException,
                      NSString::stringWithFormat("The property \"%@\" does not take a %@.", key,
                                                 NSStringFromClass(value->classDescriptor())));
  }
}

id makeObject(const InterfaceObject& described, const Ref<NSString>& place) {
  const Class* found = NSClassFromString(described.className);
  if (found == nullptr) {
    failInterface(place,
                  NSString::stringWithFormat("There is no class \"%@\".", described.className));
  }
  id object;
  blaming(place, [&] { object = found->make(); });
  if (!object) {
    failInterface(place, NSString::stringWithFormat("A %@ can't be made without arguments.",
                                                    described.className));
  }
  blaming(place, [&] {
    for (const id& key : described.values) {
      setValue(*object, described.values->objectForKey(key), cast<NSString>(key));
    }
  });
  return object;
}

}  // namespace

InterfaceObjects::InterfaceObjects(const InterfaceFile& file, id owner)
    : file_(file), owner_(std::move(owner)) {
  for (const InterfaceObject& object : file_.objects) {
    objects_.push_back(makeObject(object, placeIn("objects", objects_.size())));
  }
}

InterfaceObjects::~InterfaceObjects() {
  for (; !connected_.empty(); connected_.pop_back()) {
    const Connected& last = connected_.back();
    try {
      last.source->setValue_forKey(last.before, last.key);
    } catch (const std::exception&) {
      // A property that can't be given back what it had keeps what it has.
    }
  }
}

void InterfaceObjects::connect() {
  for (std::size_t index = 0; index < file_.connections.size(); ++index) {
    connect(file_.connections[index], placeIn("connections", index));
  }
}

void InterfaceObjects::connect(const InterfaceConnection& connection, const Ref<NSString>& place) {
  const id& source = objectAt(connection.source);
  const id& destination = objectAt(connection.destination);
  if (!source || !destination) {
    return;
  }
  blaming(place, [&] {
    connected_.push_back({source, connection.key, source->valueForKey(connection.key)});
    setValue(*source, destination, connection.key);
  });
}

Ref<NSArray> InterfaceObjects::keep() {
  const auto topLevel = NSMutableArray::array();
  for (std::size_t index = 0; index < objects_.size(); ++index) {
    if (file_.objects[index].isTopLevel) {
      topLevel->addObject(objects_[index]);
    }
  }
  Ref<NSArray> kept = copyOf(Ref<NSArray>(topLevel));
  connected_.clear();
  return kept;
}

const id& InterfaceObjects::objectAt(std::size_t index) const {
  return index == InterfaceConnection::kOwner ? owner_ : objects_[index];
}

}  // namespace kestova
