// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>
#include <KestovaPlatform/NSURL.h>

namespace kestova {

/// The length that isn't told.
inline constexpr long long NSURLResponseUnknownLength = -1;

/// What is known of something that was loaded, besides its data.
///
/// Threads: immutable, so any number of them may read one response at a time.
class KESTOVA_PLATFORM_EXPORT NSURLResponse : public NSObject {
  KESTOVA_CLASS(NSURLResponse, NSObject)

 public:
  /// URL and texts may be null; `length` is NSURLResponseUnknownLength where there is none.
  static Ref<NSURLResponse> initWithURL_MIMEType_expectedContentLength_textEncodingName(
      const Ref<NSURL>& url, const Ref<NSString>& MIMEType, long long length,
      const Ref<NSString>& textEncodingName);

  /// Where the data came from, after all redirects.
  const Ref<NSURL>& URL() const noexcept { return URL_; }

  /// Such as "text/html", in small letters; null when the source doesn't tell.
  const Ref<NSString>& MIMEType() const noexcept { return MIMEType_; }

  /// How many bytes the source announced; NSURLResponseUnknownLength when it did not, or when it
  /// counted compressed ones.
  long long expectedContentLength() const noexcept { return expectedContentLength_; }

  /// The name of the text's encoding as the source tells it; null when it doesn't.
  const Ref<NSString>& textEncodingName() const noexcept { return textEncodingName_; }

  /// This response itself.
  id copy() const override { return self(); }

 protected:
  NSURLResponse(Ref<NSURL> url, Ref<NSString> MIMEType, long long length,
                Ref<NSString> textEncodingName) noexcept;

 private:
  const Ref<NSURL> URL_;
  const Ref<NSString> MIMEType_;
  const long long expectedContentLength_;
  const Ref<NSString> textEncodingName_;
};

/// A server's response over HTTP.
///
///     if (const auto reply = cast<NSHTTPURLResponse>(response)) {
///       std::cout << reply->statusCode() << ' ' << reply->valueForHTTPHeaderField("ETag");
///     }
///
/// Every status is a response and none an error, also 404.
class KESTOVA_PLATFORM_EXPORT NSHTTPURLResponse : public NSURLResponse {
  KESTOVA_CLASS(NSHTTPURLResponse, NSURLResponse)

 public:
  /// The other properties are those that the fields tell. The version is for people and not kept;
  /// null fields are none.
  static Ref<NSHTTPURLResponse> initWithURL_statusCode_HTTPVersion_headerFields(
      const Ref<NSURL>& url, NSInteger statusCode, const Ref<NSString>& HTTPVersion,
      const Ref<NSDictionary>& fields);

  NSInteger statusCode() const noexcept { return statusCode_; }

  /// Texts by name, spelled as the server does. The values of a field that came several times are
  /// joined by ", ". Bytes that are no UTF-8 count as Latin-1. Never null.
  const Ref<NSDictionary>& allHeaderFields() const noexcept { return fields_; }

  /// The value of a field by its name, in capitals or small letters; null when there is none.
  Ref<NSString> valueForHTTPHeaderField(const Ref<NSString>& name) const;

  /// Status, URL and fields.
  Ref<NSString> description() const override;

 protected:
  NSHTTPURLResponse(Ref<NSURL> url, NSInteger statusCode, Ref<NSDictionary> fields);

 private:
  const NSInteger statusCode_;
  const Ref<NSDictionary> fields_;
};

}  // namespace kestova
