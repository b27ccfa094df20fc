// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>

#include "object/ObjectExtras.h"

#include <algorithm>
#include <cstddef>
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

  void letGo(std::vector<id>& members) { letGo(members.data(), members.size()); }

  void letGo(std::vector<std::pair<id, id>>& entries) {
    static_assert(sizeof entries[0] == 2 * sizeof(id));
    letGo(entries.empty() ? nullptr : &entries.front().first, 2 * entries.size());
  }

  template <class Member>
  void letGo(std::vector<Ref<Member>>& members) {
    for (Ref<Member>& member : members) {
      id object = std::move(member);
      letGo(&object, 1);
    }
  }

 private:
  /// Giving a reference up waits for the object's memory and lets nothing overtake it, so the
  /// objects to come are asked for in time.
  void letGo(id* members, std::size_t count) {
    constexpr std::size_t kAhead = 8;
    const bool tooDeep = isTooDeep();
    for (std::size_t index = 0; index < count; ++index) {
      __builtin_prefetch(members[std::min(index + kAhead, count - 1)].get(), 1);
      if (tooDeep) {
        putOff(std::move(members[index]));
      } else if (const NSObject* const member = members[index].leak()) {
        ObjectExtras::release(*member);
      }
    }
  }

  bool isTooDeep() const noexcept;
  static void putOff(id member) noexcept;
};

}  // namespace kestova
