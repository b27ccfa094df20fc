// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

#include "object/KeyPathRegistration.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
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
class KeyPathStep : public std::enable_shared_from_this<KeyPathStep> {
 public:
  struct Key {
    Ref<NSString> name;
    std::string text;  // by which tables know it
  };
  using Keys = std::shared_ptr<const std::vector<Key>>;

  /// The first step of a path.
  static std::shared_ptr<KeyPathStep> first(std::shared_ptr<KeyPathRegistration> registration,
                                            NSObject& object, const Ref<NSString>& keyPath,
                                            std::shared_ptr<KeyPathStep> owner = nullptr);

  KeyPathStep(std::shared_ptr<KeyPathRegistration> registration, NSObject& object, Keys keys,
              std::size_t index, std::shared_ptr<KeyPathStep> owner);

  KeyPathRegistration& registration() const noexcept { return *registration_; }
  const std::string& keyText() const noexcept { return key().text; }

  /// Whether the registration begins here.
  bool isFirstOfRegistration() const noexcept { return index_ == 0 && !owner_; }

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
  using Steps = std::vector<std::shared_ptr<KeyPathStep>>;

  const Key& key() const noexcept { return (*keys_)[index_]; }
  bool isLast() const noexcept { return index_ + 1 == keys_->size(); }
  bool isOneOfItsOwners() const;
  void link();
  void enterAffecting(const Ref<NSString>& keyPath);
  std::shared_ptr<KeyPathStep> attachNext();
  std::shared_ptr<KeyPathStep> leaveAlone(const id& root) noexcept;
  void dropNext() noexcept;
  std::shared_ptr<const Steps> affecting() const noexcept;
  template <class Visit>
  static void forEach(const std::shared_ptr<const Steps>& steps, const Visit& visit);
  template <class Visit>
  void forAllThatChange(const Visit& visit);

  const std::shared_ptr<KeyPathRegistration> registration_;
  NSObject& object_;
  const id held_;  // the object, null when it is the root
  const Keys keys_;
  const std::size_t index_;
  const std::shared_ptr<KeyPathStep> owner_;

  // Guarded by the registration's mutex.
  std::shared_ptr<KeyPathStep> next_;
  std::shared_ptr<const Steps> affecting_;  // null for none; replaced, not changed
  std::uint64_t changes_ = 0;               // tells whether a value that was read may be an old one
  bool hasLeft_ = false;
};

}  // namespace kestova
