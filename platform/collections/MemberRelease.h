// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>

#include <utility>
#include <vector>

namespace kestova {

/// Lets go of the members of a collection that goes. A member may be a collection that goes with
/// it, and so on: beyond some depth members wait until the stack is shorter again, so that no
/// nesting is too deep. They are gone when the outermost collection is.
class MemberRelease {
 public:
  MemberRelease() noexcept;
  ~MemberRelease();
  MemberRelease(const MemberRelease&) = delete;
  MemberRelease& operator=(const MemberRelease&) = delete;

  void letGo(std::vector<id>& members) {
    for (id& member : members) {
      letGo(member);
    }
  }

  void letGo(std::vector<std::pair<id, id>>& entries) {
    for (auto& [key, object] : entries) {
      letGo(key);
      letGo(object);
    }
  }

 private:
  void letGo(id& member) {
    if (isTooDeep()) {
      putOff(std::move(member));
    } else {
      member = nullptr;
    }
  }

  bool isTooDeep() const noexcept;
  static void putOff(id member);
};

}  // namespace kestova
