// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVCacheItem.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "SettableClock.h"

#include <string>

namespace kestova {
namespace {

using testing::SettableClock;

// Shows: cacheItemWithObject_key, creationTime, accessTime, object, key
TEST(OVCacheItemTests, IsCreatedNowAndCountsAsNeverAccessed) {
  SettableClock clock(1000);
  const auto item = OVCacheItem::cacheItemWithObject_key("object", "key");
  clock.advance(5);
  EXPECT_EQ(item->creationTime()->timeIntervalSinceReferenceDate(), 1000);
  EXPECT_TRUE(item->accessTime()->isEqual(NSDate::distantPast()));
  EXPECT_TRUE(item->object()->isEqual("object"));
  EXPECT_TRUE(item->key()->isEqual("key"));
}

// Shows: setAccessTime, initWithObject_key, accessTime, creationTime, object
TEST(OVCacheItemTests, OnlyItsAccessTimeChanges) {
  const auto item = OVCacheItem::initWithObject_key(nullptr, "key");
  EXPECT_EQ(item->object(), nullptr);
  const auto created = item->creationTime();
  const auto now = NSDate::date();
  item->setAccessTime(now);
  EXPECT_EQ(item->accessTime(), now);
  EXPECT_EQ(item->creationTime(), created);
}

// Shows: initWithObject_key, object, key
TEST(OVCacheItemTests, KeepsTheVerySameObjects) {
  const id object = NSMutableString::stringWithString("object");
  const id key = NSMutableString::stringWithString("key");
  const auto item = OVCacheItem::initWithObject_key(object, key);
  EXPECT_EQ(item->object(), object);
  EXPECT_EQ(item->key(), key);
}

// Shows: OVCacheItem
TEST(OVCacheItemTests, TellsItsPropertiesInOrder) {
  std::string names;
  for (const Property& property : OVCacheItem::staticClass().properties()) {
    names += std::string(property.name) + " ";
  }
  EXPECT_EQ(names, "creationTime accessTime object key ");
}

}  // namespace
}  // namespace kestova
