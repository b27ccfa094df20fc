// SPDX-License-Identifier: Apache-2.0
#include "object/PendingChanges.h"

#include "object/ObjectExtras.h"

#include <pthread.h>

#include <algorithm>
#include <iterator>

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

void PendingChanges::willChange(NSObject& object, std::string_view key) {
  Lent lent(spare_);
  if (spare_.empty()) {
    lent.list.emplace_back();
  } else {
    lent.list.splice(lent.list.begin(), spare_, spare_.begin());
  }
  Change& change = lent.list.front();
  change.object = &object;
  change.key = key;
  ObjectExtras::of(object).observers.stepsAt(key, [&](const std::shared_ptr<KeyPathStep>& step) {
    change.told.push_back({step, nullptr});
  });
  if (!change.told.empty()) {
    tellBefore(ObjectExtras::share(object), change);
    announced_.splice(announced_.end(), lent.list);
  }
}

/// All are told before anything is taken away: one who throws leaves everything as it was. Nobody
/// is told of an object that goes; it is null here.
void PendingChanges::tellBefore(const id& object, Change& change) {
  for (std::size_t index = 0; object && index < change.told.size(); ++index) {
    if (change.isFirstOfItsRegistration(index)) {
      Told& told = change.told[index];
      told.oldValue = told.step->registration().oldValue(object);
      told.step->registration().tell(ChangeMoment::Before, told.oldValue, object);
    }
  }
  for (const Told& told : change.told) {
    told.step->willChange();
  }
}

void PendingChanges::didChange(NSObject& object, std::string_view key) {
  const auto latest = std::find_if(
      announced_.rbegin(), announced_.rend(),
      [&](const Change& change) { return change.object == &object && change.key == key; });
  if (latest != announced_.rend()) {
    Lent lent(spare_);
    lent.list.splice(lent.list.begin(), announced_, std::prev(latest.base()));
    tellAfter(ObjectExtras::share(object), lent.list.front());
  }
}

void PendingChanges::tellAfter(const id& object, const Change& change) {
  for (const Told& told : change.told) {
    told.step->didChange();
  }
  for (std::size_t index = 0; object && index < change.told.size(); ++index) {
    if (change.isFirstOfItsRegistration(index)) {
      const Told& told = change.told[index];
      told.step->registration().tell(ChangeMoment::After, told.oldValue, object);
    }
  }
}

}  // namespace kestova
