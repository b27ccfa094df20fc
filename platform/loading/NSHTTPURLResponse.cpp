// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/ASCIICase.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSURLResponse.h>

#include "loading/ContentType.h"
#include "loading/HTTPFields.h"

#include <charconv>
#include <string>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSHTTPURLResponse,
                     .property<&NSHTTPURLResponse::statusCode>("statusCode")
                         .property<&NSHTTPURLResponse::allHeaderFields>("allHeaderFields"))

namespace {

std::string bytesOf(const Ref<NSDictionary>& fields, const char* name) {
  const auto value = fieldNamed(name, fields);
  return value ? value->displayUTF8() : std::string();
}

Ref<NSString> textOrNull(const std::string& text) {
  return text.empty() ? nullptr : NSString::stringWithUTF8String(text);
}

/// The length that the fields announce, unless it counts bytes that are still to be unpacked.
long long lengthOf(const Ref<NSDictionary>& fields) {
  const auto encoding = lowercaseASCII(trimmed(bytesOf(fields, "Content-Encoding")));
  const auto text = bytesOf(fields, "Content-Length");
  long long length = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
  const bool isNumber = error == std::errc() && end == text.data() + text.size() && length >= 0;
  return isNumber && (encoding.empty() || encoding == "identity") ? length
                                                                  : NSURLResponseUnknownLength;
}

}  // namespace

NSHTTPURLResponse::NSHTTPURLResponse(Ref<NSURL> url, NSInteger statusCode, Ref<NSDictionary> fields)
    : NSURLResponse(std::move(url),
                    textOrNull(ContentType::parse(bytesOf(fields, "Content-Type")).type),
                    lengthOf(fields),
                    textOrNull(ContentType::parse(bytesOf(fields, "Content-Type")).charset)),
      statusCode_(statusCode),
      fields_(std::move(fields)) {}

Ref<NSHTTPURLResponse> NSHTTPURLResponse::initWithURL_statusCode_HTTPVersion_headerFields(
    const Ref<NSURL>& url, NSInteger statusCode, const Ref<NSString>&,
    const Ref<NSDictionary>& fields) {
  return make<NSHTTPURLResponse>(url, statusCode,
                                 fields ? copyOf(fields) : NSDictionary::dictionary());
}

Ref<NSString> NSHTTPURLResponse::valueForHTTPHeaderField(const Ref<NSString>& name) const {
  return fieldNamed(name, fields_);
}

Ref<NSString> NSHTTPURLResponse::description() const {
  return NSString::stringWithFormat("%ld %@ %@", statusCode_, URL(), fields_);
}

}  // namespace kestova
