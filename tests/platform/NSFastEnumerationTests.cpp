// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSFastEnumeration.h>
#include <KestovaPlatform/NSSet.h>
#include <gtest/gtest.h>

#include <string>

namespace kestova {
namespace {

std::string membersOf(const NSFastEnumeration& collection) {
  std::string text;
  for (const id& member : collection) {
    text += member->description()->displayUTF8() + " ";
  }
  return text;
}

TEST(NSFastEnumerationTests, EveryCollectionHandsOutItsMembers) {
  EXPECT_EQ(membersOf(NSArray::of("a", "b", 1)), "a b 1 ");
  EXPECT_EQ(membersOf(NSMutableArray::of("a")), "a ");
  EXPECT_EQ(membersOf(NSSet::of("a")), "a ");
  EXPECT_EQ(membersOf(NSDictionary::of({{"key", "object"}})), "key ");
  EXPECT_EQ(membersOf(NSArray::of("a", "b")->reverseObjectEnumerator()), "b a ");
}

TEST(NSFastEnumerationTests, NothingHasNoMembers) {
  EXPECT_EQ(membersOf(nullptr), "");
  EXPECT_EQ(membersOf(Ref<NSArray>()), "");
  EXPECT_EQ(membersOf(NSSet::set()), "");
}

TEST(NSFastEnumerationTests, AnEnumeratorMayBeWalkedThroughTwice) {
  const NSFastEnumeration members = NSArray::of("a", "b")->objectEnumerator();
  EXPECT_EQ(membersOf(members), "a b ");
  EXPECT_EQ(membersOf(members), "a b ");
}

TEST(NSFastEnumerationTests, TheCollectionMayChangeMeanwhile) {
  const auto array = NSMutableArray::of("a", "b");
  const NSFastEnumeration members = array;
  array->removeAllObjects();
  EXPECT_EQ(membersOf(members), "a b ");
}

}  // namespace
}  // namespace kestova
