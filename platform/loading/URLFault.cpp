// SPDX-License-Identifier: Apache-2.0
#include "loading/URLFault.h"

#include <KestovaPlatform/NSDictionary.h>

namespace kestova {

constinit const StringConstant NSURLErrorDomain{"NSURLErrorDomain"};
constinit const StringConstant NSURLErrorFailingURLErrorKey{"NSErrorFailingURLKey"};
constinit const StringConstant NSURLErrorFailingURLStringErrorKey{"NSErrorFailingURLStringKey"};

namespace {

const char* descriptionOf(NSInteger code) {
  switch (code) {
    case NSURLErrorBadURL:
      return "The URL can't be used.";
    case NSURLErrorTimedOut:
      return "The request timed out.";
    case NSURLErrorUnsupportedURL:
      return "URLs of this kind can't be loaded.";
    case NSURLErrorCannotFindHost:
      return "The server could not be found.";
    case NSURLErrorCannotConnectToHost:
      return "The server could not be reached.";
    case NSURLErrorNetworkConnectionLost:
      return "The connection to the server was lost.";
    case NSURLErrorHTTPTooManyRedirects:
      return "The server redirects too often.";
    case NSURLErrorNotConnectedToInternet:
      return "There is no network connection to the server.";
    case NSURLErrorRedirectToNonExistentLocation:
      return "The server redirects to something that is no URL.";
    case NSURLErrorBadServerResponse:
      return "The server's response can't be understood.";
    case NSURLErrorCannotDecodeContentData:
      return "The server's data can't be unpacked.";
    case NSURLErrorFileDoesNotExist:
      return "There is no such file.";
    case NSURLErrorFileIsDirectory:
      return "The file is a folder.";
    case NSURLErrorNoPermissionsToReadFile:
      return "The file may not be read.";
    case NSURLErrorDataLengthExceedsMaximum:
      return "There is more data than can be loaded.";
    case NSURLErrorSecureConnectionFailed:
      return "No secure connection to the server could be made.";
    case NSURLErrorServerCertificateHasBadDate:
      return "The server's certificate has expired.";
    case NSURLErrorServerCertificateUntrusted:
      return "The server's certificate can't be trusted.";
    case NSURLErrorServerCertificateHasUnknownRoot:
      return "The server's certificate is signed by somebody unknown.";
    case NSURLErrorServerCertificateNotYetValid:
      return "The server's certificate is not valid yet.";
    case NSURLErrorClientCertificateRequired:
      return "The server wants a certificate of the client.";
    default:
      return "The URL could not be loaded.";
  }
}

}  // namespace

Ref<NSError> errorForFault(const URLFault& fault, const Ref<NSURL>& url) {
  const auto userInfo =
      NSMutableDictionary::of({{NSLocalizedDescriptionKey, descriptionOf(fault.code)}});
  if (url) {
    userInfo->setObject_forKey(url, NSURLErrorFailingURLErrorKey);
    userInfo->setObject_forKey(url->absoluteString(), NSURLErrorFailingURLStringErrorKey);
  }
  if (const Ref<NSString> reason = fault.reason; reason && reason->length() != 0) {
    userInfo->setObject_forKey(reason, NSLocalizedFailureReasonErrorKey);
  }
  if (fault.systemError != 0) {
    userInfo->setObject_forKey(
        NSError::errorWithDomain_code_userInfo(NSPOSIXErrorDomain, fault.systemError, nullptr),
        NSUnderlyingErrorKey);
  }
  return NSError::errorWithDomain_code_userInfo(NSURLErrorDomain, fault.code, userInfo);
}

}  // namespace kestova
