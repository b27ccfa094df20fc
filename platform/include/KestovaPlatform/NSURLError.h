// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>

namespace kestova {

/// The domain of errors in loading what a URL names. Their user info tells the URL under the keys
/// below and, where the loader knows more, the reason.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSURLErrorDomain;

extern KESTOVA_PLATFORM_EXPORT const StringConstant NSURLErrorFailingURLErrorKey;        ///< NSURL
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSURLErrorFailingURLStringErrorKey;  ///< text

/// The codes of errors in NSURLErrorDomain.
enum : NSInteger {
  NSURLErrorUnknown = -1,
  NSURLErrorBadURL = -1000,                 ///< none, or one that names no host
  NSURLErrorTimedOut = -1001,               ///< nothing came for the request's time-out
  NSURLErrorUnsupportedURL = -1002,         ///< a scheme other than http, https and file
  NSURLErrorCannotFindHost = -1003,         ///< the host's name, or the proxy's, has no address
  NSURLErrorCannotConnectToHost = -1004,    ///< nobody answers there
  NSURLErrorNetworkConnectionLost = -1005,  ///< the connection ended before the response did
  NSURLErrorHTTPTooManyRedirects = -1007,
  NSURLErrorNotConnectedToInternet = -1009,         ///< no network leads to the host
  NSURLErrorRedirectToNonExistentLocation = -1010,  ///< the server redirects to no URL
  NSURLErrorBadServerResponse = -1011,              ///< what the server sends isn't HTTP
  NSURLErrorCannotDecodeContentData = -1016,        ///< the body isn't compressed as is claimed

  // Files
  NSURLErrorFileDoesNotExist = -1100,
  NSURLErrorFileIsDirectory = -1101,
  NSURLErrorNoPermissionsToReadFile = -1102,

  NSURLErrorDataLengthExceedsMaximum = -1103,  ///< more than the loader takes

  // TLS
  NSURLErrorSecureConnectionFailed = -1200,
  NSURLErrorServerCertificateHasBadDate = -1201,      ///< has expired
  NSURLErrorServerCertificateUntrusted = -1202,       ///< such as for another host
  NSURLErrorServerCertificateHasUnknownRoot = -1203,  ///< signed by nobody who is known
  NSURLErrorServerCertificateNotYetValid = -1204,
  NSURLErrorClientCertificateRequired = -1206,
};

}  // namespace kestova
