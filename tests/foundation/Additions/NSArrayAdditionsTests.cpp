// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSArrayAdditions.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "Bytes.h"
#include "ExceptionExpectation.h"

namespace kestova {
namespace {

using testing::dataOf;
using testing::expectException;
using testing::hex;

TEST(NSArrayDataAdditionsTests, TheSeparatorStandsBetweenEachTwo) {
  const auto letters = NSArray::of(dataOf({'A'}), dataOf({'B'}), dataOf({'C'}));
  EXPECT_EQ(hex(componentsJoinedByData(letters, dataOf({','}))), "41 2c 42 2c 43");
  EXPECT_EQ(hex(componentsJoinedByData(letters, dataOf({1, 2}))), "41 01 02 42 01 02 43");
  EXPECT_EQ(hex(componentsJoinedByData(letters, NSData::data())), "41 42 43");
}

TEST(NSArrayDataAdditionsTests, EmptyElementsAreSeparatedToo) {
  const auto gaps = NSArray::of(NSData::data(), dataOf({'B'}), NSData::data());
  EXPECT_EQ(hex(componentsJoinedByData(gaps, dataOf({','}))), "2c 42 2c");
}

TEST(NSArrayDataAdditionsTests, NothingJoinedIsNoBytes) {
  EXPECT_EQ(componentsJoinedByData(NSArray::array(), dataOf({','}))->length(), 0U);
  EXPECT_EQ(componentsJoinedByData(NSArray::array(), nullptr)->length(), 0U);
}

TEST(NSArrayDataAdditionsTests, OneElementNeedsNoSeparator) {
  const auto one = dataOf({'A'});
  const auto joined = componentsJoinedByData(NSArray::of(one), nullptr);
  EXPECT_EQ(hex(joined), "41");
  joined->setLength(0);
  EXPECT_EQ(hex(one), "41") << "what is joined is a copy";
}

TEST(NSArrayDataAdditionsTests, WhatIsNoDataIsRefused) {
  const auto two = NSArray::of(dataOf({'A'}), dataOf({'B'}));
  expectException(NSInvalidArgumentException, [&] { (void)componentsJoinedByData(two, nullptr); });
  expectException(NSInvalidArgumentException,
                  [] { (void)componentsJoinedByData(NSArray::of("text"), NSData::data()); });
}

}  // namespace
}  // namespace kestova
