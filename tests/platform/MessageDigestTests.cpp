// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/HexCoding.h>
#include <KestovaPlatform/MessageDigest.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace kestova {
namespace {

std::string sumOf(MD5Digest& digest) {
  std::string text(32, '?');
  writeHex(digest.finish(), text.data());
  return text;
}

std::string sumOf(std::string_view text) {
  MD5Digest digest;
  digest.update(std::as_bytes(std::span(text)));
  return sumOf(digest);
}

/// The test suite of RFC 1321.
TEST(MessageDigestTests, MD5IsTheOneOfTheStandard) {
  EXPECT_EQ(sumOf(""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(sumOf("a"), "0cc175b9c0f1b6a831c399e269772661");
  EXPECT_EQ(sumOf("abc"), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(sumOf("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
  EXPECT_EQ(sumOf("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
  EXPECT_EQ(sumOf("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
            "d174ab98d277d9f5a5611c2c9f419d9f");
  EXPECT_EQ(
      sumOf("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
      "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(MessageDigestTests, PiecesMakeOneDigest) {
  const std::string text(1000, 'x');
  for (std::size_t cut = 0; cut <= text.size(); cut += 7) {
    MD5Digest digest;
    digest.update(std::as_bytes(std::span(text.data(), cut)));
    digest.update({});
    digest.update(std::as_bytes(std::span(text.data() + cut, text.size() - cut)));
    ASSERT_EQ(sumOf(digest), sumOf(text));
  }
}

TEST(MessageDigestTests, AfterTheEndItBeginsAnew) {
  MD5Digest digest;
  digest.update(std::as_bytes(std::span("abc", 3)));
  EXPECT_EQ(sumOf(digest), sumOf("abc"));
  EXPECT_EQ(sumOf(digest), sumOf(""));
}

}  // namespace
}  // namespace kestova
