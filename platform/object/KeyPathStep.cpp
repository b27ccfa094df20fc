// SPDX-License-Identifier: Apache-2.0
#include "object/KeyPathStep.h"

#include <KestovaPlatform/FirstException.h>
#include <KestovaPlatform/NSSet.h>

#include "object/ObjectExtras.h"

#include <mutex>
#include <utility>

namespace kestova {
namespace {

Ref<NSString> firstKeyOf(const Ref<NSString>& keyPath) {
  const NSUInteger stop = endOfFirstKey(keyPath);
  return stop == NSNotFound ? keyPath : keyPath->substringToIndex(stop);
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

KeyPathStep::Key KeyPathStep::Key::firstOf(const Ref<NSString>& keyPath) {
  if (endOfFirstKey(keyPath) == NSNotFound) {
    return {keyPath, nullptr};
  }
  const auto path = keyPath->componentsSeparatedByString(".");
  return {cast<NSString>(path->objectAtIndex(0)), path};
}

KeyPathStep::Key KeyPathStep::Key::next() const {
  return {cast<NSString>(path->objectAtIndex(index + 1)), path, index + 1};
}

KeyPathStep::KeyPathStep(Ref<KeyPathRegistration> registration, NSObject& object, Key key,
                         Ref<KeyPathStep> owner)
    : registration_(std::move(registration)),
      object_(object),
      held_(registration_->isRoot(object) ? nullptr : &object),
      key_(std::move(key)),
      owner_(std::move(owner)) {}

void KeyPathStep::link() { ObjectExtras::of(object_).observers.link(Ref(this)); }

void KeyPathStep::enter() {
  link();
  if (isOneOfItsOwners()) {
    return;  // properties that depend on each other
  }
  if (object_.keyPathsForValuesAffectingValueForKey(key_.name)) {
    for (const id& path : pathsAffecting(object_, key_.name)) {
      enterAffecting(cast<NSString>(path));
    }
  }
}

/// Nothing may fail between the linking of a step and its being known to the one that it affects.
void KeyPathStep::enterAffecting(const Ref<NSString>& keyPath) {
  const auto step =
      make<KeyPathStep>(registration_, object_, Key::firstOf(copyOf(keyPath)), Ref(this));
  const auto present = affecting();
  auto grown = present ? std::make_shared<Steps>(*present) : std::make_shared<Steps>();
  grown->push_back(step);
  step->link();
  bool isTooLate = false;
  {
    const std::scoped_lock lock(registration_->mutex());
    isTooLate = hasLeft_;
    if (!isTooLate) {
      affecting_ = std::move(grown);
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
    if (&owner->object_ == &object_ && owner->keyText() == keyText()) {
      return true;
    }
  }
  return false;
}

void KeyPathStep::follow() {
  for (auto step = attachNext(); step;) {
    step = step->attachNext();
  }
}

/// Puts a step at the value of the key and answers it; null at the end, or when the key changed
/// since: whoever changed it last attaches what it reads then.
Ref<KeyPathStep> KeyPathStep::attachNext() {
  if (key_.isLast()) {
    return nullptr;
  }
  std::uint64_t change = 0;
  {
    const std::scoped_lock lock(registration_->mutex());
    change = ++changes_;
  }
  const id value = object_.valueForKey(key_.name);
  if (!value) {
    return nullptr;
  }
  const auto next = make<KeyPathStep>(registration_, *value, key_.next(), owner_);
  try {
    next->enter();
  } catch (...) {
    next->leave(registration_->liveRoot());
    throw;
  }
  Ref<KeyPathStep> superfluous = next;  // or the one that it takes the place of
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

void KeyPathStep::leave(const id& root) noexcept {
  for (auto step = leaveAlone(root); step;) {
    step = step->leaveAlone(root);
  }
}

template <class Visit>
void KeyPathStep::forEach(const std::shared_ptr<const Steps>& steps, const Visit& visit) {
  if (steps) {
    for (const auto& step : *steps) {
      visit(*step);
    }
  }
}

/// Leaves with all that affects it, and answers the step behind, for which the same is to be done.
Ref<KeyPathStep> KeyPathStep::leaveAlone(const id& root) noexcept {
  std::shared_ptr<const Steps> affecting;
  Ref<KeyPathStep> next;
  {
    const std::scoped_lock lock(registration_->mutex());
    hasLeft_ = true;
    next = std::move(next_);
    affecting = std::move(affecting_);
  }
  if (ObjectExtras* extras = held_ || root ? ObjectExtras::existing(object_) : nullptr) {
    extras->observers.unlink(*this);
  }
  forEach(affecting, [&](KeyPathStep& step) { step.leave(root); });
  return next;
}

/// Visits the steps whose keys have other values after a change of this one. Paths that affect the
/// same key may do so by way of each other.
template <class Visit>
void KeyPathStep::forAllThatChange(const Visit& visit) {
  for (Ref<KeyPathStep> step(this); step; step = step->owner_) {
    visit(*step);
    if (step->key_.isFirst() && step->owner_) {
      forEach(step->owner_->affecting(), [&](KeyPathStep& sibling) {
        if (&sibling != step.get()) {
          visit(sibling);
        }
      });
    }
  }
}

std::shared_ptr<const KeyPathStep::Steps> KeyPathStep::affecting() const noexcept {
  const std::scoped_lock lock(registration_->mutex());
  return affecting_;
}

void KeyPathStep::willChange() noexcept {
  if (owner_ || !key_.isLast()) {
    forAllThatChange([](KeyPathStep& step) { step.dropNext(); });
  }
}

void KeyPathStep::didChange() {
  if (owner_ || !key_.isLast()) {
    FirstException failure;
    forAllThatChange([&](KeyPathStep& step) { failure.attempt([&] { step.follow(); }); });
    failure.rethrow();
  }
}

void KeyPathStep::dropNext() noexcept {
  Ref<KeyPathStep> dropped;
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
