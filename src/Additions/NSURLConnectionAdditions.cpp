// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSURLConnectionAdditions.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/Dispatch.h>

namespace kestova {

inline namespace NSURLConnection_KestovaAdditions {

void sendSynchronousRequest_completionBlock(const Ref<NSURLRequest>& request,
                                            const NSURLConnectionCompletion& completion) {
  require(static_cast<bool>(completion), "completion != nil");
  Ref<NSURLResponse> response;
  Ref<NSError> error;
  const auto data =
      NSURLConnection::sendSynchronousRequest_returningResponse_error(request, &response, &error);
  completion(data, response, error);
}

void sendAsynchronousRequest_completionBlock(const Ref<NSURLRequest>& request,
                                             const NSURLConnectionCompletion& completion) {
  require(static_cast<bool>(completion), "completion != nil");
  dispatch_async(dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0),
                 [request = copyOf(request), completion] {
                   sendSynchronousRequest_completionBlock(request, completion);
                 });
}

}  // namespace NSURLConnection_KestovaAdditions

}  // namespace kestova
