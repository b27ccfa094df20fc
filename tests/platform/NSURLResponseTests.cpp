// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSURLResponse.h>
#include <gtest/gtest.h>

#include <string>

namespace kestova {
namespace {

Ref<NSHTTPURLResponse> responseWith(const Ref<NSDictionary>& fields) {
  return NSHTTPURLResponse::initWithURL_statusCode_HTTPVersion_headerFields(
      NSURL::URLWithString("http://example.org/a"), 404, "HTTP/1.1", fields);
}

std::string shown(const Ref<NSString>& text) { return text ? text->displayUTF8() : "none"; }

TEST(NSURLResponseTests, KeepsWhatItIsMadeWith) {
  const auto url = NSURL::URLWithString("file:///a");
  const auto response = NSURLResponse::initWithURL_MIMEType_expectedContentLength_textEncodingName(
      url, "text/plain", 12, "utf-8");
  EXPECT_EQ(response->URL(), url);
  EXPECT_EQ(response->MIMEType(), "text/plain");
  EXPECT_EQ(response->expectedContentLength(), 12);
  EXPECT_EQ(response->textEncodingName(), "utf-8");
  EXPECT_EQ(response->copy(), response);
}

TEST(NSURLResponseTests, AWebResponseFindsItsFieldsWhateverTheirCase) {
  const auto response = responseWith(NSDictionary::of({{"eTag", "x"}}));
  EXPECT_EQ(response->statusCode(), 404);
  EXPECT_EQ(response->valueForHTTPHeaderField("ETag"), "x");
  EXPECT_EQ(response->valueForHTTPHeaderField("E-Tag"), nullptr);
  EXPECT_EQ(responseWith(nullptr)->allHeaderFields()->count(), 0U);
  EXPECT_EQ(responseWith(nullptr)->description(), "404 http://example.org/a {\n}");
}

TEST(NSURLResponseTests, TypeAndEncodingAreTakenFromTheField) {
  const struct {
    const char* field;
    const char* type;
    const char* encoding;
  } kCases[] = {
      {"text/html", "text/html", "none"},
      {"Text/HTML; Charset=UTF-8", "text/html", "UTF-8"},
      {" text/plain ;charset=\"iso-8859-1\" ; x=y", "text/plain", "iso-8859-1"},
      {"multipart/mixed; boundary=\"a;charset=no\"; charset = yes", "multipart/mixed", "yes"},
      {"a/b; x=\"\\\";charset=no\"; charset=yes", "a/b", "yes"},
      {"a/b;charset;charset=;charset=c;charset=d", "a/b", "c"},
      {"a/b; charset=\"unended", "a/b", "unended"},
      {"a/b; charset=\"\\", "a/b", "\\"},
      {"", "none", "none"},
      {";;;", "none", "none"},
      {"; charset=x", "none", "x"},
  };
  for (const auto& [field, type, encoding] : kCases) {
    const auto response = responseWith(NSDictionary::of({{"content-type", field}}));
    EXPECT_EQ(shown(response->MIMEType()), type) << field;
    EXPECT_EQ(shown(response->textEncodingName()), encoding) << field;
  }
}

TEST(NSURLResponseTests, OnlyALengthOfWhatArrivesIsOne) {
  const auto length = [](const Ref<NSDictionary>& fields) {
    return responseWith(fields)->expectedContentLength();
  };
  EXPECT_EQ(length(nullptr), -1);
  EXPECT_EQ(length(NSDictionary::of({{"content-length", "0"}})), 0);
  EXPECT_EQ(length(NSDictionary::of({{"Content-Length", "9223372036854775807"}})),
            9223372036854775807);
  EXPECT_EQ(length(NSDictionary::of({{"Content-Length", "7"}, {"Content-Encoding", "Identity"}})),
            7);
  EXPECT_EQ(length(NSDictionary::of({{"Content-Length", "7"}, {"Content-Encoding", "gzip"}})), -1);
  for (const char* text : {"", "-1", "9223372036854775808", "1, 1", "1x", "0x1", " 1"}) {
    EXPECT_EQ(length(NSDictionary::of({{"Content-Length", text}})), -1) << text;
  }
}

}  // namespace
}  // namespace kestova
