// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "BothStorages.h"
#include "ExceptionExpectation.h"

#include <random>

namespace kestova {
namespace {

using testing::expectException;
using testing::forBothStorages;

std::string roundTrip(const std::string& bytes) {
  return NSString::stringWithFileSystemRepresentation(bytes)->fileSystemRepresentation();
}

TEST(FileSystemRepresentationTests, WellFormedNamesAreTheirText) {
  EXPECT_EQ(NSString::stringWithFileSystemRepresentation("/tmp/ä😀"), "/tmp/ä😀");
  forBothStorages(u"/tmp/a", [](const Ref<NSString>& path) {
    EXPECT_EQ(path->fileSystemRepresentation(), "/tmp/a");
  });
  forBothStorages(
      u"ä😀", [](const Ref<NSString>& path) { EXPECT_EQ(path->fileSystemRepresentation(), "ä😀"); });
}

TEST(FileSystemRepresentationTests, BytesThatAreNoTextBecomeSurrogates) {
  const struct {
    std::string bytes;
    std::u16string units;
  } kRows[] = {
      {"\x80", {0xDC80}},
      {"\xFF", {0xDCFF}},
      {"a\xE4z", {u'a', 0xDCE4, u'z'}},
      {"\xE2\x82", {0xDCE2, 0xDC82}},
      {"\xE2\x82/", {0xDCE2, 0xDC82, u'/'}},
      {"\xC0\xAF", {0xDCC0, 0xDCAF}},
      {"\xED\xB2\x80", {0xDCED, 0xDCB2, 0xDC80}},
      {"\xC3\xA4\xFF", {0xE4, 0xDCFF}},
      {"\xF0\x9F\x98\x80\x80", {0xD83D, 0xDE00, 0xDC80}},
  };
  for (const auto& row : kRows) {
    const auto name = NSString::stringWithFileSystemRepresentation(row.bytes);
    EXPECT_EQ(name->utf16(), row.units);
    EXPECT_EQ(name->fileSystemRepresentation(), row.bytes);
    EXPECT_EQ(name->UTF8String(), std::nullopt);
  }
}

TEST(FileSystemRepresentationTests, EveryPairOfBytesGoesRound) {
  for (int first = 1; first < 256; ++first) {
    for (int second = 1; second < 256; ++second) {
      const std::string bytes{static_cast<char>(first), static_cast<char>(second)};
      ASSERT_EQ(roundTrip(bytes), bytes);
    }
  }
}

TEST(FileSystemRepresentationTests, RandomBytesGoRound) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  for (int round = 0; round < 20000; ++round) {
    std::string bytes(random() % 12, '\0');
    for (char& byte : bytes) {
      byte = static_cast<char>(1 + random() % 255);
    }
    ASSERT_EQ(roundTrip(bytes), bytes);
  }
}

TEST(FileSystemRepresentationTests, NamesThatNoFileCanHaveThrow) {
  for (const std::u16string& units :
       {std::u16string{0xD800}, std::u16string{0xDC7F}, std::u16string{0xDD00},
        std::u16string{u'a', 0xD83D}, std::u16string{u'a', 0, u'b'}}) {
    forBothStorages(units, [](const Ref<NSString>& name) {
      expectException(NSInvalidArgumentException, [&] { name->fileSystemRepresentation(); });
    });
  }
}

}  // namespace
}  // namespace kestova
