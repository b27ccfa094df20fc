// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSURLRequest.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"

namespace kestova::testing {
namespace {

Ref<NSURL> page() { return NSURL::URLWithString("http://example.org/a"); }

TEST(NSURLRequestTests, ANewRequestGetsItsURLWithinAMinute) {
  const auto request = NSURLRequest::requestWithURL(page());
  EXPECT_EQ(request->URL()->absoluteString(), "http://example.org/a");
  EXPECT_EQ(request->HTTPMethod(), "GET");
  EXPECT_EQ(request->timeoutInterval(), 60);
  EXPECT_EQ(request->allHTTPHeaderFields()->count(), 0U);
  EXPECT_EQ(request->HTTPBody(), nullptr);
  EXPECT_EQ(request->description(), "GET http://example.org/a");
  EXPECT_EQ(request->copy(), request);
}

TEST(NSURLRequestTests, FieldsAreFoundWhateverTheCaseOfTheirNames) {
  const auto request = NSMutableURLRequest::requestWithURL(page());
  request->setValue_forHTTPHeaderField("one", "X-First");
  EXPECT_EQ(request->valueForHTTPHeaderField("x-fIRST"), "one");
  EXPECT_EQ(request->valueForHTTPHeaderField("X-Firs"), nullptr);
  EXPECT_EQ(request->valueForHTTPHeaderField(nullptr), nullptr);
  EXPECT_EQ(request->valueForHTTPHeaderField(u"\u212A"), nullptr) << "a Kelvin sign is no k";
  request->setValue_forHTTPHeaderField("two", "x-first");
  EXPECT_TRUE(request->allHTTPHeaderFields()->isEqual(NSDictionary::of({{"x-first", "two"}})));
  request->addValue_forHTTPHeaderField("three", "X-FIRST");
  EXPECT_EQ(request->valueForHTTPHeaderField("x-first"), "two,three");
  request->addValue_forHTTPHeaderField("a", "B");
  EXPECT_EQ(request->valueForHTTPHeaderField("b"), "a");
  request->setValue_forHTTPHeaderField(nullptr, "X-First");
  EXPECT_TRUE(request->allHTTPHeaderFields()->isEqual(NSDictionary::of({{"B", "a"}})));
  request->setAllHTTPHeaderFields(NSDictionary::of({{"C", "c"}}));
  EXPECT_TRUE(request->allHTTPHeaderFields()->isEqual(NSDictionary::of({{"C", "c"}})));
  request->setAllHTTPHeaderFields(nullptr);
  EXPECT_EQ(request->allHTTPHeaderFields()->count(), 0U);
}

TEST(NSURLRequestTests, WhatWouldMakeOtherFieldsOrRequestsIsRefused) {
  const auto request = NSMutableURLRequest::requestWithURL(page());
  request->setValue_forHTTPHeaderField("kept", "Name");
  const auto refused = [&](const Ref<NSString>& value, const Ref<NSString>& name) {
    expectException(NSInvalidArgumentException,
                    [&] { request->setValue_forHTTPHeaderField(value, name); });
    expectException(NSInvalidArgumentException,
                    [&] { request->addValue_forHTTPHeaderField(value, name); });
  };
  for (const char* name : {"", "a b", "a:", "a\r\nb", "ä", "a\tb", "(a)"}) {
    refused("value", name);
  }
  refused("value", nullptr);
  for (const char* value : {"a\r\nX: y", "a\n", "\r", "\x7F", "\x01"}) {
    refused(value, "Name");
  }
  refused(u"\xD800", "Name");
  refused(NSString::stringWithCharacters_length(u"a\0b", 3), "Name");
  for (const char* method : {"", "GET /", "G\r\nT", "GÉT"}) {
    expectException(NSInvalidArgumentException, [&] { request->setHTTPMethod(method); });
  }
  for (const id& bad : {id(NSDictionary::of({{"Name", 1}})), id(NSDictionary::of({{1, "value"}})),
                        id(NSDictionary::of({{"Name", "a\nb"}}))}) {
    expectException(NSInvalidArgumentException,
                    [&] { request->setAllHTTPHeaderFields(cast<NSDictionary>(bad)); });
  }
  EXPECT_TRUE(request->allHTTPHeaderFields()->isEqual(NSDictionary::of({{"Name", "kept"}})));
  EXPECT_EQ(request->HTTPMethod(), "GET");
}

TEST(NSURLRequestTests, TabulatorsAndLettersOutsideOfASCIIAreValues) {
  const auto request = NSMutableURLRequest::requestWithURL(page());
  request->setValue_forHTTPHeaderField("a\tö", "Name");
  EXPECT_EQ(request->valueForHTTPHeaderField("Name"), "a\tö");
  request->setValue_forHTTPHeaderField("", "Name");
  EXPECT_EQ(request->valueForHTTPHeaderField("Name"), "");
}

TEST(NSURLRequestTests, CopiesShareNothingThatChanges) {
  const auto request = NSMutableURLRequest::requestWithURL(page());
  const auto body = NSMutableData::dataWithBytes_length("abc", 3);
  request->setHTTPBody(body);
  request->setHTTPMethod("PUT");
  request->setTimeoutInterval(2.5);
  request->setValue_forHTTPHeaderField("v", "n");
  const auto copy = copyOf(Ref<NSURLRequest>(request));
  const auto mutableCopy = cast<NSMutableURLRequest>(copy->mutableCopy());
  EXPECT_FALSE(cast<NSMutableURLRequest>(id(copy)));
  EXPECT_TRUE(copy->isEqual(request));
  EXPECT_TRUE(mutableCopy->isEqual(copy));
  EXPECT_EQ(copy->hash(), request->hash());
  body->setLength(0);
  request->setURL(nullptr);
  request->setHTTPMethod(nullptr);
  request->setValue_forHTTPHeaderField("w", "n");
  EXPECT_FALSE(copy->isEqual(request));
  EXPECT_EQ(copy->HTTPBody()->length(), 3U);
  EXPECT_EQ(copy->HTTPMethod(), "PUT");
  EXPECT_EQ(copy->timeoutInterval(), 2.5);
  EXPECT_EQ(copy->valueForHTTPHeaderField("n"), "v");
  EXPECT_EQ(request->HTTPMethod(), "GET");
  EXPECT_EQ(request->description(), "GET (null)");
}

TEST(NSURLRequestTests, EachPartCountsForEquality) {
  const auto request = NSMutableURLRequest::requestWithURL(page());
  const auto differs = [&](auto&& change) {
    const auto other = cast<NSMutableURLRequest>(request->mutableCopy());
    EXPECT_TRUE(other->isEqual(request));
    change(*other);
    return !other->isEqual(request) && !request->isEqual(other);
  };
  EXPECT_TRUE(differs([](auto& other) { other.setURL(nullptr); }));
  EXPECT_TRUE(differs([](auto& other) { other.setTimeoutInterval(1); }));
  EXPECT_TRUE(differs([](auto& other) { other.setHTTPMethod("HEAD"); }));
  EXPECT_TRUE(differs([](auto& other) { other.setValue_forHTTPHeaderField("v", "n"); }));
  EXPECT_TRUE(differs([](auto& other) { other.setHTTPBody(NSData::data()); }));
  EXPECT_FALSE(request->isEqual(page()));
  EXPECT_FALSE(request->isEqual(nullptr));
}

}  // namespace
}  // namespace kestova::testing
