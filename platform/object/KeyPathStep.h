// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>

#include "object/KeyPathRegistration.h"
#include "object/KeyText.h"
#include "object/Shared.h"

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace kestova {

/// One key of one object that a registration looks at.
///
/// Steps form a tree. A step of a longer path has the step at the value of its key as `next`. A
/// step whose key depends on other properties of its object has the first steps of their paths as
/// `affecting`; these and all steps behind them have it as their owner, for a change of theirs is a
/// change of its key. What a step holds below it follows the values of the keys; it is taken away
/// before a change and put there again after it.
///
/// A step holds its object, unless that is the registration's root: so a link from an object's
/// table to a step never dangles, and no registration keeps its own root alive.
class KeyPathStep : public Shared<KeyPathStep> {
 public:
  /// A key and where it stands in its path. Neither ever changes.
  struct Key {
    Ref<NSString> name;
    Ref<NSArray> path;  // null for a path of one key
    NSUInteger index = 0;

    static Key firstOf(const Ref<NSString>& keyPath);
    Key next() const;
    bool isFirst() const noexcept { return index == 0; }
    bool isLast() const noexcept { return !path || index + 1 == path->count(); }
  };

  KeyPathStep(Ref<KeyPathRegistration> registration, NSObject& object, Key key,
              Ref<KeyPathStep> owner);

  KeyPathRegistration& registration() const noexcept { return *registration_; }
  std::string_view keyText() const noexcept { return text_; }

  /// Whether the registration begins here.
  bool isFirstOfRegistration() const noexcept { return key_.isFirst() && !owner_; }

  /// Stands in the object's table from now on, with all that its key depends on.
  void enter();

  /// Puts steps at the values of this key and those behind it, as they are now.
  void follow();

  /// Takes this step and all below it out of the tables, for good. `root` is the registration's
  /// root; null when that goes, and its table with it.
  void leave(const id& root) noexcept;

  /// The key is about to change.
  void willChange() noexcept;

  /// It has changed. What can't be followed keeps nothing else from being so.
  void didChange();

 private:
  using Steps = std::vector<Ref<KeyPathStep>>;

  bool isOneOfItsOwners() const;
  void link();
  void enterAffecting(const Ref<NSString>& keyPath);
  Ref<KeyPathStep> attachNext();
  Ref<KeyPathStep> leaveAlone(const id& root) noexcept;
  void dropNext() noexcept;
  std::shared_ptr<const Steps> affecting() const noexcept;
  template <class Visit>
  static void forEach(const std::shared_ptr<const Steps>& steps, const Visit& visit);
  template <class Visit>
  void forAllThatChange(const Visit& visit);

  const Ref<KeyPathRegistration> registration_;
  NSObject& object_;
  const id held_;  // the object, null when it is the root
  const Key key_;
  const KeyText text_{key_.name};
  const Ref<KeyPathStep> owner_;

  // Guarded by the registration's mutex.
  Ref<KeyPathStep> next_;
  std::shared_ptr<const Steps> affecting_;  // null for none; replaced, not changed
  std::uint64_t changes_ = 0;               // tells whether a value that was read may be an old one
  bool hasLeft_ = false;
};

}  // namespace kestova
