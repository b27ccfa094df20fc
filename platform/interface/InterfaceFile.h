// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSString.h>

#include <cstddef>
#include <vector>

namespace kestova {

/// What is wrong with an interface file, and where: "objects[3]: …".
struct InterfaceFault {
  Ref<NSString> description;
};

/// Throws an InterfaceFault.
[[noreturn]] void failInterface(const Ref<NSString>& where, const Ref<NSString>& what);

/// An object that an interface file describes.
struct InterfaceObject {
  Ref<NSString> className;
  Ref<NSDictionary> values;  // by key; immutable
  bool isTopLevel = true;
};

/// An object that is to become the value of another one's property. Objects are known by their
/// index.
struct InterfaceConnection {
  static constexpr std::size_t kOwner = static_cast<std::size_t>(-1);

  std::size_t source = kOwner;
  Ref<NSString> key;
  std::size_t destination = kOwner;
};

/// What stands in an interface file, in its order. That classes and keys exist isn't known yet, all
/// else is as `docs/formats/interface-file.md` has it.
struct InterfaceFile {
  static constexpr std::size_t kMostObjects = 4096;
  static constexpr std::size_t kMostConnections = 65536;
  static constexpr std::size_t kMostBytes = std::size_t{64} << 20;

  /// Throws an InterfaceFault.
  static InterfaceFile read(const Ref<NSData>& data);

  std::vector<InterfaceObject> objects;
  std::vector<InterfaceConnection> connections;
};

/// How faults name a place: "objects[3]".
Ref<NSString> placeIn(const char* list, std::size_t index);

}  // namespace kestova
