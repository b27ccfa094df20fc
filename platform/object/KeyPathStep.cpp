// SPDX-License-Identifier: Apache-2.0
#include "object/KeyPathStep.h"

#include <KestovaPlatform/FirstException.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSSet.h>

#include "object/KeyText.h"
#include "object/ObjectExtras.h"

#include <string_view>
#include <utility>

namespace kestova {
namespace {

Ref<NSString> firstKeyOf(const Ref<NSString>& keyPath) {
  const NSUInteger stop = endOfFirstKey(keyPath);
  return stop == NSNotFound ? keyPath : keyPath->substringToIndex(stop);
}

KeyPathStep::Keys keysOf(const Ref<NSString>& keyPath) {
  std::vector<KeyPathStep::Key> keys;
  const auto add = [&](const Ref<NSString>& key) {
    keys.push_back({key, std::string(std::string_view(KeyText(key)))});
  };
  if (endOfFirstKey(keyPath) == NSNotFound) {
    add(keyPath);
  } else {
    for (const id& key : keyPath->componentsSeparatedByString(".")) {
      add(cast<NSString>(key));
    }
  }
  return std::make_shared<const std::vector<KeyPathStep::Key>>(std::move(keys));
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
  if (object_.keyPathsForValuesAffectingValueForKey(key().name)) {
    for (const id& path : pathsAffecting(object_, key().name)) {
      enterAffecting(cast<NSString>(path));
    }
  }
}

/// Nothing may fail between the linking of a step and its being known to the one that it affects.
void KeyPathStep::enterAffecting(const Ref<NSString>& keyPath) {
  const auto step = first(registration_, object_, keyPath, shared_from_this());
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
  const id value = object_.valueForKey(key().name);
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

void KeyPathStep::leave(const id& root) noexcept {
  for (auto step = shared_from_this(); step;) {
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
std::shared_ptr<KeyPathStep> KeyPathStep::leaveAlone(const id& root) noexcept {
  std::shared_ptr<const Steps> affecting;
  std::shared_ptr<KeyPathStep> next;
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
  for (auto step = shared_from_this(); step; step = step->owner_) {
    visit(*step);
    if (step->index_ == 0 && step->owner_) {
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
  if (owner_ || !isLast()) {
    forAllThatChange([](KeyPathStep& step) { step.dropNext(); });
  }
}

void KeyPathStep::didChange() {
  if (owner_ || !isLast()) {
    FirstException failure;
    forAllThatChange([&](KeyPathStep& step) { failure.attempt([&] { step.follow(); }); });
    failure.rethrow();
  }
}

void KeyPathStep::dropNext() noexcept {
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
