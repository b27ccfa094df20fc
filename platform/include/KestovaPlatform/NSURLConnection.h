// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSURLError.h>
#include <KestovaPlatform/NSURLRequest.h>
#include <KestovaPlatform/NSURLResponse.h>

namespace kestova {

/// Loads what a URL names: over http, over https with the server's certificate checked, or a file.
///
///     Ref<NSURLResponse> response;
///     Ref<NSError> error;
///     const auto page = NSURLConnection::sendSynchronousRequest_returningResponse_error(
///         NSURLRequest::requestWithURL(url), &response, &error);
///     if (!page) std::cerr << error->localizedDescription() << '\n';
///
/// Redirects are followed, up to 20, never to a file: as the status wants it, with the same request
/// or as GET without a body. Authorization and Cookie fields stay behind when host, port or scheme
/// change. Compressed bodies arrive unpacked. Name and password in a URL are sent as Basic
/// authentication. Nothing is cached and no cookies are kept. A body without a Content-Type field
/// is sent as "application/x-www-form-urlencoded".
///
/// The environment has its usual say: http_proxy, https_proxy and no_proxy name proxies, and
/// SSL_CERT_FILE a file of trusted certificates in place of the system's.
///
/// Threads: any. Each request has a connection of its own.
class KESTOVA_PLATFORM_EXPORT NSURLConnection : public NSObject {
  KESTOVA_CLASS(NSURLConnection, NSObject)

 public:
  /// Loads all of it and blocks until then. Answers the data, which may be empty, and stores the
  /// response. On failure it answers null and stores an error in NSURLErrorDomain and a null
  /// response; half a body is a failure. What a server sends and is larger than 2 GiB, unpacked, is
  /// one too (NSURLErrorDataLengthExceedsMaximum), and so are header fields of more than 256 KiB; a
  /// file may have any size that memory has room for. A null request fails as one without a URL
  /// does.
  static Ref<NSData> sendSynchronousRequest_returningResponse_error(
      const Ref<NSURLRequest>& request, Ref<NSURLResponse>* response = nullptr,
      Ref<NSError>* error = nullptr);

 private:
  NSURLConnection() = default;
};

}  // namespace kestova
