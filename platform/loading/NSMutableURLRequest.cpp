// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/ASCIICase.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSURLRequest.h>

#include "loading/HTTPFields.h"

#include <optional>

namespace kestova {

KESTOVA_DEFINE_CLASS(
    NSMutableURLRequest,
    .property<&NSMutableURLRequest::URL, &NSMutableURLRequest::setURL>("URL")
        .property<&NSMutableURLRequest::timeoutInterval, &NSMutableURLRequest::setTimeoutInterval>(
            "timeoutInterval")
        .property<&NSMutableURLRequest::HTTPMethod, &NSMutableURLRequest::setHTTPMethod>(
            "HTTPMethod")
        .property<&NSMutableURLRequest::allHTTPHeaderFields,
                  &NSMutableURLRequest::setAllHTTPHeaderFields>("allHTTPHeaderFields")
        .property<&NSMutableURLRequest::HTTPBody, &NSMutableURLRequest::setHTTPBody>("HTTPBody"))

namespace {

/// Throws unless the text is what `isAllowed` allows.
template <class IsAllowed>
void checkText(const Ref<NSString>& text, IsAllowed&& isAllowed, const char* problem) {
  const auto bytes = text ? text->UTF8String() : std::nullopt;
  if (!bytes || !isAllowed(*bytes)) {
    throw NSException(NSInvalidArgumentException, NSString::stringWithFormat(problem, text));
  }
}

void checkName(const Ref<NSString>& name) {
  checkText(name, isHTTPToken, "\"%@\" is no name of a header field.");
}

void checkValue(const Ref<NSString>& value) {
  checkText(value, isHTTPFieldValue, "\"%@\" is no value of a header field.");
}

}  // namespace

Ref<NSMutableURLRequest> NSMutableURLRequest::requestWithURL(const Ref<NSURL>& url) {
  return make<NSMutableURLRequest>(url);
}

void NSMutableURLRequest::setURL(const Ref<NSURL>& url) { URL_ = url; }

void NSMutableURLRequest::setHTTPMethod(const Ref<NSString>& method) {
  if (method) {
    checkText(method, isHTTPToken, "\"%@\" is no method of HTTP.");
  }
  HTTPMethod_ = method ? copyOf(method) : Ref<NSString>("GET");
}

void NSMutableURLRequest::setAllHTTPHeaderFields(const Ref<NSDictionary>& fields) {
  const auto changed = make<NSMutableURLRequest>(URL_);
  for (const id& name : fields ? fields : NSDictionary::dictionary()) {
    const auto value = cast<NSString>(fields->objectForKey(name));
    checkValue(value);
    changed->setValue_forHTTPHeaderField(value, cast<NSString>(name));
  }
  fields_ = changed->fields_;
}

void NSMutableURLRequest::setValue_forHTTPHeaderField(const Ref<NSString>& value,
                                                      const Ref<NSString>& name) {
  checkName(name);
  const auto wanted = name->displayUTF8();
  const auto changed = NSMutableDictionary::dictionary();
  for (const id& other : fields_) {
    if (!isSameButForCase(cast<NSString>(other)->displayUTF8(), wanted)) {
      changed->setObject_forKey(fields_->objectForKey(other), other);
    }
  }
  if (value) {
    checkValue(value);
    changed->setObject_forKey(copyOf(value), name);
  }
  fields_ = NSDictionary::dictionaryWithDictionary(changed);
}

void NSMutableURLRequest::addValue_forHTTPHeaderField(const Ref<NSString>& value,
                                                      const Ref<NSString>& name) {
  const auto before = valueForHTTPHeaderField(name);
  checkValue(value);
  setValue_forHTTPHeaderField(before ? NSString::stringWithFormat("%@,%@", before, value) : value,
                              name);
}

void NSMutableURLRequest::setHTTPBody(const Ref<NSData>& body) { HTTPBody_ = copyOf(body); }

id NSMutableURLRequest::copy() const {
  return make<NSURLRequest>(static_cast<const NSURLRequest&>(*this));
}

}  // namespace kestova
