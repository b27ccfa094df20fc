// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSCharacterSet.h>

#include "text/CharacterSetMembers.h"
#include "values/RangeCheck.h"

#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSMutableCharacterSet)

NSMutableCharacterSet::NSMutableCharacterSet(Members members)
    : NSCharacterSet(std::move(members)) {}

Ref<NSMutableCharacterSet> NSMutableCharacterSet::init() {
  return make<NSMutableCharacterSet>(Members{});
}

Ref<NSMutableCharacterSet> NSMutableCharacterSet::characterSetWithRange(NSRange range) {
  return make<NSMutableCharacterSet>(Members{charactersInRange(range)});
}

Ref<NSMutableCharacterSet> NSMutableCharacterSet::characterSetWithCharactersInString(
    const Ref<NSString>& characters) {
  return make<NSMutableCharacterSet>(Members{charactersInString(characters)});
}

void NSMutableCharacterSet::addCharactersInRange(NSRange range) {
  members_->set.addAll(charactersInRange(range));
  membersDidChange();
}

void NSMutableCharacterSet::removeCharactersInRange(NSRange range) {
  members_->set.removeAll(charactersInRange(range));
  membersDidChange();
}

void NSMutableCharacterSet::addCharactersInString(const Ref<NSString>& characters) {
  members_->set.addAll(charactersInString(characters));
  membersDidChange();
}

void NSMutableCharacterSet::removeCharactersInString(const Ref<NSString>& characters) {
  members_->set.removeAll(charactersInString(characters));
  membersDidChange();
}

void NSMutableCharacterSet::formUnionWithCharacterSet(const Ref<NSCharacterSet>& other) {
  checkArgument(*this, "formUnionWithCharacterSet:", other != nullptr);
  members_->set.addAll(other->members_->set);
  membersDidChange();
}

void NSMutableCharacterSet::formIntersectionWithCharacterSet(const Ref<NSCharacterSet>& other) {
  checkArgument(*this, "formIntersectionWithCharacterSet:", other != nullptr);
  members_->set.retainAll(other->members_->set);
  membersDidChange();
}

void NSMutableCharacterSet::invert() {
  members_->set.complement();
  membersDidChange();
}

id NSMutableCharacterSet::copy() const { return make<NSCharacterSet>(*members_); }

}  // namespace kestova
