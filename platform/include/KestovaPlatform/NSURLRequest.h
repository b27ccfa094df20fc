// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>
#include <KestovaPlatform/NSURL.h>

namespace kestova {

/// What is to be loaded, and how it is asked for.
///
///     auto request = NSMutableURLRequest::requestWithURL(NSURL::URLWithString(address));
///     request->setHTTPMethod("PUT");
///     request->setValue_forHTTPHeaderField("text/plain", "Content-Type");
///     request->setHTTPBody(text);
///
/// Names of header fields are the same in capitals and small letters.
///
/// Threads: immutable here, so any number of them may read one request at a time.
class KESTOVA_PLATFORM_EXPORT NSURLRequest : public NSObject {
  KESTOVA_CLASS(NSURLRequest, NSObject)

 public:
  /// A GET request without header fields or body, with a time-out of 60 seconds. A null URL makes a
  /// request that can't be loaded.
  static Ref<NSURLRequest> requestWithURL(const Ref<NSURL>& url);

  /// May be null.
  const Ref<NSURL>& URL() const noexcept { return URL_; }

  /// For how many seconds nothing may arrive or leave before loading fails; connecting as a whole
  /// takes no longer either. 0, less and NaN mean the usual 60 seconds, infinity waits for ever.
  NSTimeInterval timeoutInterval() const noexcept { return timeoutInterval_; }

  Ref<NSString> HTTPMethod() const { return HTTPMethod_; }

  /// Texts by name. Never null.
  const Ref<NSDictionary>& allHTTPHeaderFields() const noexcept { return fields_; }

  /// Null when there is no such field.
  Ref<NSString> valueForHTTPHeaderField(const Ref<NSString>& name) const;

  /// What is sent along; null for nothing.
  const Ref<NSData>& HTTPBody() const noexcept { return HTTPBody_; }

  /// Whether all of the above is equal.
  bool isEqual(const id& other) const override;
  NSUInteger hash() const override;

  /// The method and the URL.
  Ref<NSString> description() const override;

  id copy() const override;
  id mutableCopy() const override;

 protected:
  explicit NSURLRequest(Ref<NSURL> url);
  NSURLRequest(const NSURLRequest& other);

  Ref<NSURL> URL_;
  NSTimeInterval timeoutInterval_ = 60;
  Ref<NSString> HTTPMethod_;
  Ref<NSDictionary> fields_;
  Ref<NSData> HTTPBody_;
};

/// A request that is being put together.
///
/// Threads: one at a time.
class KESTOVA_PLATFORM_EXPORT NSMutableURLRequest : public NSURLRequest {
  KESTOVA_CLASS(NSMutableURLRequest, NSURLRequest)

 public:
  static Ref<NSMutableURLRequest> requestWithURL(const Ref<NSURL>& url);

  /// As of NSURLRequest.
  void setURL(const Ref<NSURL>& url);
  void setTimeoutInterval(NSTimeInterval seconds) noexcept { timeoutInterval_ = seconds; }

  /// Any method that HTTP could have (RFC 9110, section 9.1), as it is written; null means "GET".
  /// Throws NSInvalidArgumentException for a text that is no token.
  void setHTTPMethod(const Ref<NSString>& method);

  /// \name Header fields
  ///
  /// A name that is no token of HTTP and a value with control characters other than the tabulator
  /// throw NSInvalidArgumentException: they would make other fields or another request of it.
  /// Values are sent in UTF-8. Those of Connection, Content-Length, Expect and Transfer-Encoding
  /// are the loader's own, whatever is set here.
  /// @{

  /// All fields; null for none.
  void setAllHTTPHeaderFields(const Ref<NSDictionary>& fields);

  /// Sets a field in place of the one there; a null value removes it.
  void setValue_forHTTPHeaderField(const Ref<NSString>& value, const Ref<NSString>& name);

  /// Adds a value to those of the field, behind a comma.
  void addValue_forHTTPHeaderField(const Ref<NSString>& value, const Ref<NSString>& name);

  /// @}

  /// The data is copied; null for nothing.
  void setHTTPBody(const Ref<NSData>& body);

  id copy() const override;

 protected:
  using NSURLRequest::NSURLRequest;
  explicit NSMutableURLRequest(const NSURLRequest& other) : NSURLRequest(other) {}
};

}  // namespace kestova
