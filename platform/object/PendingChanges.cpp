// SPDX-License-Identifier: Apache-2.0
#include "object/PendingChanges.h"

#include <KestovaPlatform/FirstException.h>

#include "object/ObjectExtras.h"

#include <pthread.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace kestova {
namespace {

thread_local PendingChanges* ofThisThread = nullptr;

/// Its destructor runs after those of thread-local variables, which may announce changes; should
/// one come even later, it runs once more.
pthread_key_t threadEndKey() {
  static const pthread_key_t key = [] {
    pthread_key_t made{};
    pthread_key_create(&made, [](void* changes) {
      ofThisThread = nullptr;
      delete static_cast<PendingChanges*>(changes);
    });
    return made;
  }();
  return key;
}

}  // namespace

/// A change that is out of both lists while its observers are told; it becomes a spare one in the
/// end, unless it is handed on.
class PendingChanges::Lent {
 public:
  explicit Lent(std::list<Change>& spare) : spare_(spare) {}
  ~Lent() {
    if (!list.empty()) {
      list.front().told.clear();
      spare_.splice(spare_.begin(), list);
    }
  }
  Lent(const Lent&) = delete;
  Lent& operator=(const Lent&) = delete;

  std::list<Change> list;  // one at most

 private:
  std::list<Change>& spare_;
};

PendingChanges* PendingChanges::existing() noexcept { return ofThisThread; }

PendingChanges& PendingChanges::ofThread() {
  if (ofThisThread == nullptr) {
    ofThisThread = new PendingChanges;
    pthread_setspecific(threadEndKey(), ofThisThread);
  }
  return *ofThisThread;
}

bool PendingChanges::Change::isFirstOfItsRegistration(std::size_t index) const noexcept {
  return index == 0 || &told[index - 1].step->registration() != &told[index].step->registration();
}

std::uint64_t PendingChanges::willChange(NSObject& object, std::string_view key) {
  Lent lent(spare_);
  if (spare_.empty()) {
    lent.list.emplace_back();
  } else {
    lent.list.splice(lent.list.begin(), spare_, spare_.begin());
  }
  Change& change = lent.list.front();
  change.object = &object;
  change.key = key;
  change.number = ++lastNumber_;
  ObjectExtras::of(object).observers.stepsAt(key, [&](const Ref<KeyPathStep>& step) {
    change.told.push_back({step, std::nullopt});
  });
  if (change.told.empty()) {
    return 0;
  }
  tellBefore(object, change);
  announced_.splice(announced_.end(), lent.list);
  return change.number;
}

/// Whether an observer is to be told before, or a value to be kept.
bool PendingChanges::Change::hasPartBefore() const noexcept {
  return std::ranges::any_of(
      told, [](const Told& one) { return one.step->registration().takesPartBefore(); });
}

/// All are told before anything is taken away. Nobody is told of an object that goes; it is null
/// then.
void PendingChanges::tellBefore(NSObject& object, Change& change) {
  const bool hasPart = change.hasPartBefore();
  const id shared = hasPart ? ObjectExtras::share(object) : id();
  try {
    for (std::size_t index = 0; (shared || !hasPart) && index < change.told.size(); ++index) {
      if (change.isFirstOfItsRegistration(index)) {
        tellBefore(shared, change.told[index]);
      }
    }
  } catch (...) {
    takeBack(shared, change);
    throw;
  }
  for (const Told& told : change.told) {
    told.step->willChange();
  }
}

/// Has something to tell of the end only when it was told of the beginning.
void PendingChanges::tellBefore(const id& object, Told& told) {
  const KeyPathRegistration& registration = told.step->registration();
  const id oldValue = registration.oldValue(object);
  auto end = registration.changeToTell(ChangeMoment::After, oldValue);
  if (registration.asksForBefore()) {
    registration.tell(ChangeMoment::Before,
                      registration.changeToTell(ChangeMoment::Before, oldValue), object);
  }
  told.end = std::move(end);
}

/// The change is not made. Who was told that it would be is told of its end; more than that can't
/// be done for one who throws now.
void PendingChanges::takeBack(const id& object, Change& change) noexcept {
  FirstException unheard;
  for (Told& told : change.told) {
    const KeyPathRegistration& registration = told.step->registration();
    if (told.end && registration.asksForBefore()) {
      unheard.attempt(
          [&] { registration.tell(ChangeMoment::After, *std::move(told.end), object); });
    }
  }
}

void PendingChanges::didChange(NSObject& object, std::string_view key) {
  endLatest(object,
            [&](const Change& change) { return change.object == &object && change.key == key; });
}

void PendingChanges::didChange(NSObject& object, std::uint64_t number) {
  endLatest(object, [&](const Change& change) { return change.number == number; });
}

template <class IsMeant>
void PendingChanges::endLatest(NSObject& object, const IsMeant& isMeant) {
  const auto latest = std::find_if(announced_.rbegin(), announced_.rend(), isMeant);
  if (latest != announced_.rend()) {
    Lent lent(spare_);
    lent.list.splice(lent.list.begin(), announced_, std::prev(latest.base()));
    tellAfter(ObjectExtras::share(object), lent.list.front());
  }
}

void PendingChanges::tellAfter(const id& object, Change& change) {
  FirstException failure;
  for (const Told& told : change.told) {
    failure.attempt([&] { told.step->didChange(); });
  }
  for (Told& told : change.told) {
    if (object && told.end) {
      failure.attempt([&] {
        told.step->registration().tell(ChangeMoment::After, *std::move(told.end), object);
      });
    }
  }
  failure.rethrow();
}

}  // namespace kestova
