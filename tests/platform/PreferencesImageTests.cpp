// SPDX-License-Identifier: Apache-2.0
#include "preferences/PreferencesImage.h"

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "RandomRun.h"
#include "preferences/BinaryPropertyListReader.h"
#include "preferences/BinaryPropertyListWriter.h"
#include "preferences/PropertyListFault.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestova {
namespace {

/// A domain's contents, with all changes since its bytes were last asked for.
class PreferencesImageTests : public ::testing::Test {
 protected:
  void set(const Ref<NSString>& key, const id& value) {
    changed_.push_back(key);
    if (value) {
      contents_->setObject_forKey(value, key);
    } else {
      contents_->removeObjectForKey(key);
    }
  }

  std::string_view bytes() {
    const auto bytes = image_.bytesOf(contents_, changed_);
    changed_.clear();
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
  }

  static std::string_view textOf(const Ref<NSData>& data) {
    return {reinterpret_cast<const char*>(data->bytes()), data->length()};
  }

  std::string whole() const {
    return std::string(textOf(BinaryPropertyListWriter::write(contents_)));
  }

  static id read(std::string_view bytes) {
    return BinaryPropertyListReader::read(
        std::span(reinterpret_cast<const std::byte*>(bytes.data()), bytes.size()),
        NSPropertyListImmutable);
  }

  void expectContents() {
    const std::string_view made = bytes();
    const auto found = read(made);
    EXPECT_TRUE(contents_->isEqual(found)) << found->description()->displayUTF8();
  }

  Ref<NSMutableDictionary> contents_ = NSMutableDictionary::dictionary();
  std::vector<id> changed_;
  PreferencesImage image_;
};

TEST_F(PreferencesImageTests, AnEmptyOneIsAsItIsWritten) { EXPECT_EQ(bytes(), whole()); }

TEST_F(PreferencesImageTests, AValueOfItsOwnIsPutInPlaceOfTheOldOneAsIfAllWereWritten) {
  for (const char* key : {"a", "b", "c"}) set(key, NSString::stringWithFormat("%s is secret", key));
  EXPECT_EQ(bytes(), whole());
  for (const char* key : {"b", "a", "c", "b"}) {
    set(key, NSString::stringWithFormat("%s again", key));
    EXPECT_EQ(bytes(), whole());
  }
  EXPECT_EQ(bytes().find("b is secret"), std::string_view::npos);
}

TEST_F(PreferencesImageTests, AValueThatOthersHaveTooStaysForThem) {
  set("a", true);
  set("b", true);
  set("c", "a");
  set("d", NSArray::of(true, "e"));
  set("e", "f");
  expectContents();
  for (const char* key : {"a", "b", "c", "e"}) {
    set(key, false);
    expectContents();
  }
}

TEST_F(PreferencesImageTests, EveryKindOfLeafTakesThePlaceOfEveryOther) {
  const auto leaves = NSArray::of(
      "ASCII", "", "größer €", std::string(300, 'x').c_str(), true, false, 0, -1, 300, 70000,
      std::numeric_limits<std::uint64_t>::max(), 0.5, 0.25F,
      NSDate::dateWithTimeIntervalSinceReferenceDate(3), NSData::dataWithBytes_length("\1\2", 2));
  set("key", "first");
  set("other", "second");
  expectContents();
  for (const id& from : leaves) {
    for (const id& to : leaves) {
      set("key", from);
      expectContents();
      set("key", to);
      expectContents();
    }
  }
}

TEST_F(PreferencesImageTests, KeysThatComeOrGoAndContainersAreWrittenAnew) {
  set("a", 1);
  expectContents();
  const std::vector<std::pair<const char*, id>> changes = {
      {"b", 2},
      {"a", nullptr},
      {"b", NSArray::of(1, 2)},
      {"b", 3},
      {"b", NSDictionary::of({{"c", "d"}})},
      {"b", NSDictionary::of({{"CF$UID", 3}})},
      {"b", 4},
      {"CF$UID", 5},
      {"b", nullptr},
      {"CF$UID", 6},
      {"CF$UID", "text"},
      {"CF$UID", nullptr},
  };
  for (const auto& [key, value] : changes) {
    set(key, value);
    EXPECT_EQ(bytes(), whole()) << key;
  }
}

TEST_F(PreferencesImageTests, TheOnlyKeyMayTellOfAUIDEitherWay) {
  for (const id& value : NSArray::of(1, "text", 2, 3)) {
    set("CF$UID", value);
    expectContents();
  }
}

TEST_F(PreferencesImageTests, OffsetsAndReferencesGetTheRoomThatTheyNeed) {
  for (int keys : {1, 30, 125, 130, 255}) {
    for (int key = 0; key < keys; ++key) set(NSString::stringWithFormat("%d", key), "shared");
    expectContents();
    for (int key = 0; key < keys; ++key) {
      set(NSString::stringWithFormat("%d", key), NSString::stringWithFormat("own %d", key));
      expectContents();
    }
  }
  for (std::size_t size = 1; size < 70000; size += size / 2 + 1) {
    set("0", NSString::stringWithUTF8String(std::string(size, 'x')));
    expectContents();
  }
  for (std::size_t size = 70000; size > 0; size /= 3) {
    set("0", NSString::stringWithUTF8String(std::string(size, 'x')));
    expectContents();
  }
}

TEST_F(PreferencesImageTests, WhatIsForgottenIsWrittenAnew) {
  set("a", 1);
  expectContents();
  contents_ = NSMutableDictionary::of({{"b", 2}});
  image_.forget();
  EXPECT_EQ(bytes(), whole());
}

TEST_F(PreferencesImageTests, WhatCannotBeWrittenIsRefusedAndTheNextIsWhole) {
  set("a", 1);
  set("b", 1);
  expectContents();
  set("a", 2);
  set("b", NSDate::dateWithTimeIntervalSinceReferenceDate(std::numeric_limits<double>::infinity()));
  EXPECT_THROW(bytes(), PropertyListFault);
  set("b", 3);
  EXPECT_EQ(bytes(), whole());
}

TEST_F(PreferencesImageTests, ChangesAtRandomAreWhatIsRead) {
  testing::RandomRun random;
  const auto values = NSArray::of("a", "b", "k1", "ä", true, false, 1, 2, 300, 0.5, "longer text",
                                  NSArray::of("a", 1), NSDictionary::of({{"a", true}}));
  for (int step = 0; step < 3000; ++step) {
    const auto changes = 1 + random.below(10);
    for (std::size_t change = 0; change < changes; ++change) {
      const auto number = static_cast<int>(random.below(40));
      const auto key = NSString::stringWithFormat(number % 2 == 0 ? "k%d" : "ключ %d", number);
      const auto value = random.below(values->count() + 20);
      if (random.below(100) == 0) {
        set(key, nullptr);
      } else if (value < values->count()) {
        set(key, values->objectAtIndex(value));
      } else {
        set(key, static_cast<int>(random.below(100000)));
      }
    }
    expectContents();
    ASSERT_LE(bytes().size(), whole().size() + 40 * 20);
  }
}

}  // namespace
}  // namespace kestova
