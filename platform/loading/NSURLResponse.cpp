// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSURLResponse.h>

#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSURLResponse,
                     .property<&NSURLResponse::URL>("URL")
                         .property<&NSURLResponse::MIMEType>("MIMEType")
                         .property<&NSURLResponse::expectedContentLength>("expectedContentLength")
                         .property<&NSURLResponse::textEncodingName>("textEncodingName"))

NSURLResponse::NSURLResponse(Ref<NSURL> url, Ref<NSString> MIMEType, long long length,
                             Ref<NSString> textEncodingName) noexcept
    : URL_(std::move(url)),
      MIMEType_(std::move(MIMEType)),
      expectedContentLength_(length),
      textEncodingName_(std::move(textEncodingName)) {}

Ref<NSURLResponse> NSURLResponse::initWithURL_MIMEType_expectedContentLength_textEncodingName(
    const Ref<NSURL>& url, const Ref<NSString>& MIMEType, long long length,
    const Ref<NSString>& textEncodingName) {
  return make<NSURLResponse>(url, copyOf(MIMEType), length, copyOf(textEncodingName));
}

}  // namespace kestova
