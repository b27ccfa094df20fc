// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>

#include "object/KeyPathStep.h"

#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kestova {

/// The changes that one thread has announced and not yet made, with those who are to be told then.
/// What is no longer needed is kept for the next change: a thread that has made some allocates
/// nothing more.
class PendingChanges {
 public:
  /// Those of the calling thread, made when there are none.
  static PendingChanges& ofThread();

  /// Those of the calling thread; null when it never announced a change that somebody observed.
  static PendingChanges* existing() noexcept;

  void willChange(NSObject& object, std::string_view key);
  void didChange(NSObject& object, std::string_view key);

 private:
  struct Told {
    std::shared_ptr<KeyPathStep> step;
    id oldValue;
  };
  struct Change {
    const NSObject* object = nullptr;
    std::string key;
    std::vector<Told> told;  // in the order of registration

    bool isFirstOfItsRegistration(std::size_t index) const noexcept;
  };
  class Lent;

  static void tellBefore(const id& object, Change& change);
  static void tellAfter(const id& object, const Change& change);

  std::list<Change> announced_;
  std::list<Change> spare_;
};

}  // namespace kestova
