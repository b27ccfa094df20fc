// SPDX-License-Identifier: Apache-2.0
#include "object/KeyPathStep.h"

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSSet.h>

#include "object/KeyText.h"
#include "object/ObjectExtras.h"

#include <utility>

namespace kestova {
namespace {

Ref<NSString> firstKeyOf(const Ref<NSString>& keyPath) {
  const NSUInteger stop = endOfFirstKey(keyPath);
  return stop == NSNotFound ? keyPath : keyPath->substringToIndex(stop);
}

KeyPathStep::Keys keysOf(const Ref<NSString>& keyPath) {
  std::vector<Ref<NSString>> keys{firstKeyOf(keyPath)};
  if (keys.front() != keyPath) {
    keys.clear();
    for (const id& key : keyPath->componentsSeparatedByString(".")) {
      keys.push_back(cast<NSString>(key));
    }
  }
  return std::make_shared<const std::vector<Ref<NSString>>>(std::move(keys));
}

/// The paths that a key depends on, also by way of others, each once.
Ref<NSArray> pathsAffecting(const NSObject& object, const Ref<NSString>& key) {
  const auto paths = NSMutableArray::array();
  const auto met = NSMutableSet::setWithObject(key);
  const auto meet = [&](const Ref<NSString>& affected) {
    for (const id& path :
         NSSet::setWithSet(object.keyPathsForValuesAffectingValueForKey(affected))) {
      if (!met->containsObject(path)) {
        met->addObject(path);
        paths->addObject(path);
      }
    }
  };
  meet(key);
  for (NSUInteger index = 0; index < paths->count(); ++index) {
    meet(firstKeyOf(cast<NSString>(paths->objectAtIndex(index))));
  }
  return paths;
}

}  // namespace

KeyPathStep::KeyPathStep(std::shared_ptr<KeyPathRegistration> registration, NSObject& object,
                         Keys keys, std::size_t index, std::shared_ptr<KeyPathStep> owner)
    : registration_(std::move(registration)),
      object_(object),
      held_(registration_->isRoot(object) ? nullptr : &object),
      keys_(std::move(keys)),
      index_(index),
      owner_(std::move(owner)) {}

std::shared_ptr<KeyPathStep> KeyPathStep::first(std::shared_ptr<KeyPathRegistration> registration,
                                                NSObject& object, const Ref<NSString>& keyPath,
                                                std::shared_ptr<KeyPathStep> owner) {
  return std::make_shared<KeyPathStep>(std::move(registration), object, keysOf(keyPath), 0,
                                       std::move(owner));
}

void KeyPathStep::link() { ObjectExtras::of(object_).observers.link(shared_from_this()); }

void KeyPathStep::enter() {
  link();
  if (isOneOfItsOwners()) {
    return;  // properties that depend on each other
  }
  if (object_.keyPathsForValuesAffectingValueForKey(key())) {
    for (const id& path : pathsAffecting(object_, key())) {
      enterAffecting(cast<NSString>(path));
    }
  }
}

/// Nothing may fail between the linking of a step and its being known to the one that it affects.
void KeyPathStep::makeRoomForAffecting() {
  const std::scoped_lock lock(registration_->mutex());
  affecting_.reserve(affecting_.size() + 1);
}

void KeyPathStep::enterAffecting(const Ref<NSString>& keyPath) {
  const auto step = first(registration_, object_, keyPath, shared_from_this());
  makeRoomForAffecting();
  step->link();
  bool isTooLate = false;
  {
    const std::scoped_lock lock(registration_->mutex());
    isTooLate = hasLeft_;
    if (!isTooLate) {
      affecting_.push_back(step);
    }
  }
  if (isTooLate) {
    step->leave(id(&object_));
  } else {
    step->follow();
  }
}

bool KeyPathStep::isOneOfItsOwners() const {
  for (const KeyPathStep* owner = owner_.get(); owner != nullptr; owner = owner->owner_.get()) {
    if (&owner->object_ == &object_ && owner->key()->isEqualToString(key())) {
      return true;
    }
  }
  return false;
}

void KeyPathStep::follow() {
  for (auto step = shared_from_this(); step;) {
    step = step->attachNext();
  }
}

/// Puts a step at the value of the key and answers it; null at the end, or when the key changed
/// since: whoever changed it last attaches what it reads then.
std::shared_ptr<KeyPathStep> KeyPathStep::attachNext() {
  if (isLast()) {
    return nullptr;
  }
  std::uint64_t change = 0;
  {
    const std::scoped_lock lock(registration_->mutex());
    change = ++changes_;
  }
  const id value = object_.valueForKey(key());
  if (!value) {
    return nullptr;
  }
  const auto next = std::make_shared<KeyPathStep>(registration_, *value, keys_, index_ + 1, owner_);
  try {
    next->enter();
  } catch (...) {
    next->leave(registration_->liveRoot());
    throw;
  }
  std::shared_ptr<KeyPathStep> superfluous = next;  // or the one that it takes the place of
  bool isCurrent = false;
  {
    const std::scoped_lock lock(registration_->mutex());
    isCurrent = !hasLeft_ && changes_ == change;
    if (isCurrent) {
      std::swap(next_, superfluous);
    }
  }
  if (superfluous) {
    superfluous->leave(registration_->liveRoot());
  }
  return isCurrent ? next : nullptr;
}

void KeyPathStep::leave(const id& root) {
  for (auto step = shared_from_this(); step;) {
    step = step->leaveAlone(root);
  }
}

/// Leaves with all that affects it, and answers the step behind, for which the same is to be done.
std::shared_ptr<KeyPathStep> KeyPathStep::leaveAlone(const id& root) {
  std::vector<std::shared_ptr<KeyPathStep>> affecting;
  std::shared_ptr<KeyPathStep> next;
  {
    const std::scoped_lock lock(registration_->mutex());
    hasLeft_ = true;
    next = std::move(next_);
    affecting.swap(affecting_);
  }
  if (ObjectExtras* extras = held_ || root ? ObjectExtras::existing(object_) : nullptr) {
    extras->observers.unlink(*this);
  }
  for (const auto& step : affecting) {
    step->leave(root);
  }
  return next;
}

/// Visits the steps whose keys have other values after a change of this one. Paths that affect the
/// same key may do so by way of each other.
template <class Visit>
void KeyPathStep::forAllThatChange(const Visit& visit) {
  for (auto step = shared_from_this(); step; step = step->owner_) {
    visit(*step);
    if (step->index_ == 0 && step->owner_) {
      for (const auto& sibling : step->owner_->affecting()) {
        if (sibling != step) {
          visit(*sibling);
        }
      }
    }
  }
}

std::vector<std::shared_ptr<KeyPathStep>> KeyPathStep::affecting() const {
  const std::scoped_lock lock(registration_->mutex());
  return affecting_;
}

void KeyPathStep::willChange() {
  if (owner_ || !isLast()) {
    forAllThatChange([](KeyPathStep& step) { step.dropNext(); });
  }
}

void KeyPathStep::didChange() {
  if (owner_ || !isLast()) {
    forAllThatChange([](KeyPathStep& step) { step.follow(); });
  }
}

void KeyPathStep::dropNext() {
  std::shared_ptr<KeyPathStep> dropped;
  {
    const std::scoped_lock lock(registration_->mutex());
    ++changes_;
    dropped = std::move(next_);
  }
  if (dropped) {
    dropped->leave(registration_->liveRoot());
  }
}

}  // namespace kestova
