// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/ASCIICase.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSURLConnection.h>

#include "files/NativePath.h"
#include "files/WholeFile.h"
#include "loading/HTTPTransfer.h"
#include "loading/URLFault.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSURLConnection)

namespace {

constexpr int kMostRedirects = 20;

struct Loaded {
  Ref<NSURLResponse> response;
  Ref<NSData> data;
};

NSInteger codeForFile(int number) {
  switch (number) {
    case ENOENT:
    case ENOTDIR:
    case EILSEQ:
    case ENAMETOOLONG:
      return NSURLErrorFileDoesNotExist;
    case EISDIR:
      return NSURLErrorFileIsDirectory;
    case EACCES:
    case EPERM:
      return NSURLErrorNoPermissionsToReadFile;
    case EFBIG:
    case ENOMEM:
      return NSURLErrorDataLengthExceedsMaximum;
    default:
      return NSURLErrorUnknown;
  }
}

Loaded loadFile(const Ref<NSURL>& url) {
  const auto path = nativePath(url->path());
  const auto contents = NSMutableData::data();
  if (const int number = path ? readWholeFile(*path, *contents) : ENOENT; number != 0) {
    throw URLFault{codeForFile(number), std::strerror(number), number};
  }
  const auto length = static_cast<long long>(contents->length());
  return {NSURLResponse::initWithURL_MIMEType_expectedContentLength_textEncodingName(
              url, nullptr, length, nullptr),
          NSData::taking(*contents)};
}

std::string lowercaseScheme(const Ref<NSURL>& url) {
  const auto scheme = url->scheme();
  return scheme ? lowercaseASCII(scheme->displayUTF8()) : std::string();
}

bool isWeb(const Ref<NSURL>& url) {
  const auto scheme = lowercaseScheme(url);
  return scheme == "http" || scheme == "https";
}

void checkWeb(const Ref<NSURL>& url) {
  if (!isWeb(url)) {
    throw URLFault{NSURLErrorUnsupportedURL, {}};
  }
  if (!url->host()) {
    throw URLFault{NSURLErrorBadURL, "It names no host."};
  }
}

NSInteger portOf(const Ref<NSURL>& url) {
  const auto port = url->port();
  return port ? port->integerValue() : (lowercaseScheme(url) == "https" ? 443 : 80);
}

bool haveSameOrigin(const Ref<NSURL>& a, const Ref<NSURL>& b) {
  return lowercaseScheme(a) == lowercaseScheme(b) && portOf(a) == portOf(b) &&
         isSameButForCase(a->host()->displayUTF8(), b->host()->displayUTF8());
}

/// A server's Location with what it should have escaped.
std::string escapedLocation(std::string_view location) {
  std::string escaped;
  for (const char c : trimmed(location)) {
    const auto byte = static_cast<unsigned char>(c);
    constexpr std::string_view kForbidden = " \"<>\\^`{|}";
    if (byte > 0x20 && byte < 0x7F && kForbidden.find(c) == kForbidden.npos) {
      escaped.push_back(c);
    } else {
      constexpr char kDigits[] = "0123456789ABCDEF";
      escaped.append({'%', kDigits[byte >> 4], kDigits[byte & 0xF]});
    }
  }
  return escaped;
}

/// The URL that a server redirects to; without a fragment of its own it has the one before.
Ref<NSURL> redirected(const Ref<NSURL>& url, const std::string& location) {
  std::string target = escapedLocation(location);
  if (const auto fragment = url->fragment(); fragment && target.find('#') == target.npos) {
    target += '#' + fragment->displayUTF8();
  }
  const auto next = NSURL::URLWithString_relativeToURL(target, url);
  if (!next) {
    throw URLFault{NSURLErrorRedirectToNonExistentLocation, location};
  }
  checkWeb(next->absoluteURL());
  return next->absoluteURL();
}

/// RFC 9110, section 15.4: after 303 everything but HEAD becomes a GET, and as everybody does it,
/// POST after 301 and 302.
bool becomesGet(const std::string& method, int status) {
  return (status == 303 && method != "HEAD") ||
         ((status == 301 || status == 302) && method == "POST");
}

void dropBody(HTTPRequest& request) {
  request.method = "GET";
  request.body = nullptr;
  for (const char* name :
       {"Content-Type", "Content-Encoding", "Content-Language", "Content-Location"}) {
    request.fields.erase(name);
  }
}

void dropSecrets(HTTPRequest& request) {
  for (const char* name : {"Authorization", "Cookie"}) {
    request.fields.erase(name);
  }
}

HTTPRequest outgoing(const NSURLRequest& request) {
  HTTPRequest result{.url = {},
                     .method = request.HTTPMethod()->displayUTF8(),
                     .fields = {},
                     .body = request.HTTPBody()};
  const auto& fields = request.allHTTPHeaderFields();
  for (const id& name : fields) {
    result.fields.emplace(cast<NSString>(name)->displayUTF8(),
                          cast<NSString>(fields->objectForKey(name))->displayUTF8());
  }
  return result;
}

Loaded loadWeb(const NSURLRequest& request) {
  HTTPTransfer transfer(request.timeoutInterval());
  HTTPRequest current = outgoing(request);
  Ref<NSURL> url = request.URL()->absoluteURL();
  for (int hops = 0; hops <= kMostRedirects; ++hops) {
    current.url = url->absoluteString()->displayUTF8();
    HTTPReply reply = transfer.perform(current);
    const std::string* const location = reply.redirection();
    if (location == nullptr) {
      return {NSHTTPURLResponse::initWithURL_statusCode_HTTPVersion_headerFields(
                  url, reply.status, nullptr, dictionaryOf(reply.fields)),
              NSData::taking(*reply.body)};
    }
    const auto next = redirected(url, *location);
    if (becomesGet(current.method, reply.status)) {
      dropBody(current);
    }
    if (!haveSameOrigin(url, next)) {
      dropSecrets(current);
    }
    url = next;
  }
  throw URLFault{NSURLErrorHTTPTooManyRedirects, {}};
}

Loaded load(const Ref<NSURLRequest>& request) {
  if (!request || !request->URL()) {
    throw URLFault{NSURLErrorBadURL, "There is none."};
  }
  if (request->URL()->isFileURL()) {
    return loadFile(request->URL());
  }
  checkWeb(request->URL());
  return loadWeb(*request);
}

template <class T>
void store(T* location, T value) {
  if (location != nullptr) {
    *location = std::move(value);
  }
}

}  // namespace

Ref<NSData> NSURLConnection::sendSynchronousRequest_returningResponse_error(
    const Ref<NSURLRequest>& request, Ref<NSURLResponse>* response, Ref<NSError>* error) {
  Loaded loaded;
  try {
    loaded = load(request);
  } catch (const URLFault& fault) {
    store(error, errorForFault(fault, request ? request->URL() : nullptr));
  }
  store(response, std::move(loaded.response));
  return loaded.data;
}

}  // namespace kestova
