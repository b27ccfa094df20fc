// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSArray.h>

#include "interface/InterfaceFile.h"

#include <vector>

namespace kestova {

/// The objects of an interface file in the making. Unless `keep` is called, it takes back on its
/// end what it connected, last first: the owner is as it was before, and objects that hold each
/// other in a circle go.
class InterfaceObjects {
 public:
  /// Makes the objects and gives them their values. `file` outlives this. Throws an InterfaceFault.
  InterfaceObjects(const InterfaceFile& file, id owner);
  InterfaceObjects(const InterfaceObjects&) = delete;
  InterfaceObjects& operator=(const InterfaceObjects&) = delete;
  ~InterfaceObjects();

  /// Makes the connections; those with an owner that is null are left out. Throws an
  /// InterfaceFault.
  void connect();

  /// Lets everything stay, and answers the objects at the top.
  Ref<NSArray> keep();

 private:
  struct Connected {
    id source;
    Ref<NSString> key;
    id before;
  };

  const id& objectAt(std::size_t index) const;
  void connect(const InterfaceConnection& connection, const Ref<NSString>& place);

  const InterfaceFile& file_;
  const id owner_;
  std::vector<id> objects_;
  std::vector<Connected> connected_;
};

}  // namespace kestova
