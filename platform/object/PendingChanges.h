// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>

#include "object/KeyPathStep.h"
#include "object/ObservedChange.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
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

  /// Answers the number of the change; 0 when nobody is to be told of its end. What an observer
  /// throws leaves everything as it was.
  std::uint64_t willChange(NSObject& object, std::string_view key);

  /// Ends the latest change of that key, or the change of that number. One that has ended already
  /// is no failure. What observers throw comes out when all have been told.
  void didChange(NSObject& object, std::string_view key);
  void didChange(NSObject& object, std::uint64_t number);

 private:
  struct Told {
    Ref<KeyPathStep> step;
    /// What is told of the end, null for a change without values; nothing where the observer isn't
    /// told of it: where another step of the same registration stands before this one.
    std::optional<Ref<ObservedChange>> end;
  };
  struct Change {
    const NSObject* object = nullptr;
    std::string key;
    std::uint64_t number = 0;
    std::vector<Told> told;  // in the order of registration

    bool isFirstOfItsRegistration(std::size_t index) const noexcept;
    bool hasPartBefore() const noexcept;
  };
  class Lent;

  template <class IsMeant>
  void endLatest(NSObject& object, const IsMeant& isMeant);
  static void tellBefore(NSObject& object, Change& change);
  static void tellBefore(const id& object, Told& told);
  static void takeBack(const id& object, Change& change) noexcept;
  static void tellAfter(const id& object, Change& change);

  std::list<Change> announced_;
  std::list<Change> spare_;
  std::uint64_t lastNumber_ = 0;
};

}  // namespace kestova
