// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSURLRequest.h>

#include "loading/HTTPFields.h"

#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSURLRequest,
                     .property<&NSURLRequest::URL>("URL")
                         .property<&NSURLRequest::timeoutInterval>("timeoutInterval")
                         .property<&NSURLRequest::HTTPMethod>("HTTPMethod")
                         .property<&NSURLRequest::allHTTPHeaderFields>("allHTTPHeaderFields")
                         .property<&NSURLRequest::HTTPBody>("HTTPBody"))

NSURLRequest::NSURLRequest(Ref<NSURL> url)
    : URL_(std::move(url)), HTTPMethod_("GET"), fields_(NSDictionary::dictionary()) {}

NSURLRequest::NSURLRequest(const NSURLRequest& other)
    : URL_(other.URL_),
      timeoutInterval_(other.timeoutInterval_),
      HTTPMethod_(other.HTTPMethod_),
      fields_(other.fields_),
      HTTPBody_(other.HTTPBody_) {}

Ref<NSURLRequest> NSURLRequest::requestWithURL(const Ref<NSURL>& url) {
  return make<NSURLRequest>(url);
}

Ref<NSString> NSURLRequest::valueForHTTPHeaderField(const Ref<NSString>& name) const {
  return fieldNamed(name, fields_);
}

bool NSURLRequest::isEqual(const id& other) const {
  const auto request = cast<NSURLRequest>(other);
  return request && isEqualOrBothNull(URL_, request->URL_) &&
         timeoutInterval_ == request->timeoutInterval_ &&
         HTTPMethod_->isEqual(request->HTTPMethod_) && fields_->isEqual(request->fields_) &&
         isEqualOrBothNull(HTTPBody_, request->HTTPBody_);
}

NSUInteger NSURLRequest::hash() const { return URL_ ? URL_->hash() : 0; }

Ref<NSString> NSURLRequest::description() const {
  return NSString::stringWithFormat("%@ %@", HTTPMethod_, URL_);
}

id NSURLRequest::copy() const { return self(); }

id NSURLRequest::mutableCopy() const { return make<NSMutableURLRequest>(*this); }

}  // namespace kestova
