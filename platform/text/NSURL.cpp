// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/ASCIICase.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSURL.h>

#include "files/NativePath.h"
#include "files/PathText.h"
#include "text/URLParts.h"
#include "values/RangeCheck.h"

#include <filesystem>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSURL, .property<&NSURL::absoluteString>("absoluteString")
                                .property<&NSURL::relativeString>("relativeString")
                                .property<&NSURL::baseURL>("baseURL")
                                .property<&NSURL::scheme>("scheme")
                                .property<&NSURL::host>("host")
                                .property<&NSURL::port>("port")
                                .property<&NSURL::user>("user")
                                .property<&NSURL::password>("password")
                                .property<&NSURL::path>("path")
                                .property<&NSURL::query>("query")
                                .property<&NSURL::fragment>("fragment")
                                .property<&NSURL::lastPathComponent>("lastPathComponent")
                                .property<&NSURL::pathExtension>("pathExtension")
                                .property<&NSURL::pathComponents>("pathComponents"))

namespace {

/// A part as a string; null where there is none.
Ref<NSString> stringOf(const std::optional<std::string>& part) {
  return part ? Ref<NSString>(*part) : nullptr;
}

/// A relative path from the current folder on; nothing when that folder is gone.
std::optional<std::string> absolutePath(const std::string& path) {
  std::error_code error;
  const auto absolute = std::filesystem::absolute(path, error);
  return error ? std::nullopt : std::optional(absolute.string());
}

Ref<NSString> decodedPath(const URLParts& parts) {
  return NSString::stringWithFileSystemRepresentation(
      withoutTrailingSlashes(unescaped(parts.path)));
}

std::optional<URLAuthority> authorityOf(const URLParts& parts) {
  return parts.authority ? URLAuthority::parse(*parts.authority) : std::nullopt;
}

std::unique_ptr<const URLParts> resolvedParts(const URLParts& parts, const Ref<NSURL>& base) {
  if (!base) {
    return nullptr;
  }
  const auto baseParts = URLParts::parse(*base->absoluteString()->UTF8String());
  return std::make_unique<const URLParts>(parts.resolvedAgainst(*baseParts));
}

}  // namespace

NSURL::NSURL(URLParts parts, Ref<NSURL> base)
    : relative_(std::make_unique<const URLParts>(std::move(parts))),
      resolved_(resolvedParts(*relative_, base)),
      base_(std::move(base)) {}

NSURL::~NSURL() = default;

Ref<NSURL> NSURL::fileURLWithPath(const Ref<NSString>& path) {
  const auto native = nativePath(path);
  return fileURLWithPath_isDirectory(path, native && (native->ends_with('/') || isFolder(*native)));
}

Ref<NSURL> NSURL::fileURLWithPath_isDirectory(const Ref<NSString>& path, bool isDirectory) {
  const auto native = nativePath(path);
  const auto absolute = native ? absolutePath(*native) : std::nullopt;
  if (!absolute) {
    return nullptr;
  }
  const std::string bare = withoutTrailingSlashes(*absolute);
  URLParts parts;
  parts.scheme = "file";
  parts.authority = "";
  parts.path = escapedPath(isDirectory ? withTrailingSlash(bare) : bare);
  return make<NSURL>(std::move(parts), nullptr);
}

Ref<NSURL> NSURL::URLWithString(const Ref<NSString>& string) {
  return URLWithString_relativeToURL(string, nullptr);
}

Ref<NSURL> NSURL::URLWithString_relativeToURL(const Ref<NSString>& string, const Ref<NSURL>& base) {
  const auto text = string ? string->UTF8String() : std::nullopt;
  auto parts = text ? URLParts::parse(*text) : std::nullopt;
  return parts ? make<NSURL>(std::move(*parts), base) : nullptr;
}

Ref<NSString> NSURL::absoluteString() const { return parts().string(); }
Ref<NSString> NSURL::relativeString() const { return relative_->string(); }

Ref<NSURL> NSURL::absoluteURL() const {
  return base_ ? make<NSURL>(parts(), nullptr) : cast<NSURL>(self());
}

bool NSURL::isFileURL() const {
  return parts().scheme && isSameButForCase(*parts().scheme, "file");
}

Ref<NSString> NSURL::scheme() const { return stringOf(parts().scheme); }

Ref<NSString> NSURL::host() const {
  const auto authority = authorityOf(parts());
  if (!authority || authority->host.empty()) {
    return nullptr;
  }
  const std::string host = unescaped(authority->host);
  return NSString::stringWithFileSystemRepresentation(
      host.front() == '[' ? host.substr(1, host.size() - 2) : host);
}

Ref<NSNumber> NSURL::port() const {
  const auto authority = authorityOf(parts());
  return authority && authority->port ? Ref<NSNumber>(*authority->port) : nullptr;
}

Ref<NSString> NSURL::user() const {
  const auto authority = authorityOf(parts());
  return authority ? stringOf(authority->user) : nullptr;
}

Ref<NSString> NSURL::password() const {
  const auto authority = authorityOf(parts());
  return authority ? stringOf(authority->password) : nullptr;
}

Ref<NSString> NSURL::query() const { return stringOf(parts().query); }
Ref<NSString> NSURL::fragment() const { return stringOf(parts().fragment); }

Ref<NSString> NSURL::path() const { return decodedPath(parts()); }
Ref<NSString> NSURL::relativePath() const { return decodedPath(*relative_); }

Ref<NSString> NSURL::lastPathComponent() const { return path()->lastPathComponent(); }
Ref<NSString> NSURL::pathExtension() const { return path()->pathExtension(); }
Ref<NSArray> NSURL::pathComponents() const { return path()->pathComponents(); }

std::string NSURL::fileSystemRepresentation() const { return path()->fileSystemRepresentation(); }

bool NSURL::hasDirectoryPath() const { return parts().path.ends_with('/'); }

Ref<NSURL> NSURL::withPath(std::string encodedPath) const {
  URLParts changed = *relative_;
  changed.path = std::move(encodedPath);
  return make<NSURL>(std::move(changed), base_);
}

Ref<NSURL> NSURL::URLByAppendingPathComponent(const Ref<NSString>& component) const {
  checkArgument(*this, "URLByAppendingPathComponent:", component != nullptr);
  auto url = URLByAppendingPathComponent_isDirectory(component, component->hasSuffix("/"));
  const auto native = isFileURL() ? nativePath(url->path()) : std::nullopt;
  return native && isFolder(*native) ? URLByAppendingPathComponent_isDirectory(component, true)
                                     : url;
}

Ref<NSURL> NSURL::URLByAppendingPathComponent_isDirectory(const Ref<NSString>& component,
                                                          bool isDirectory) const {
  checkArgument(*this, "URLByAppendingPathComponent:isDirectory:", component != nullptr);
  // An empty path stands for the base's own.
  std::string path = relative_->path.empty() ? parts().path : relative_->path;
  if (!path.empty() || parts().authority) {
    path = withTrailingSlash(std::move(path));
  }
  std::string name = component->fileSystemRepresentation();
  name.erase(0, name.find_first_not_of('/'));
  name = withoutTrailingSlashes(std::move(name));
  return withPath(path + escapedPath(isDirectory ? withTrailingSlash(name) : name));
}

Ref<NSURL> NSURL::URLByDeletingLastPathComponent() const {
  const std::string path =
      withoutTrailingSlashes(relative_->path.empty() ? parts().path : relative_->path);
  if (path.empty()) {
    return cast<NSURL>(self());
  }
  const auto slash = path.rfind('/');
  return withPath(slash == path.npos ? "./" : path.substr(0, slash + 1));
}

bool NSURL::isEqual(const id& other) const {
  const auto url = cast<NSURL>(other);
  return url && relative_->string() == url->relative_->string() &&
         isEqualOrBothNull(base_, url->base_);
}

NSUInteger NSURL::hash() const { return relativeString()->hash(); }

Ref<NSString> NSURL::description() const {
  return base_ ? NSString::stringWithFormat("%@ -- %@", relativeString(), base_) : absoluteString();
}

id NSURL::copy() const { return self(); }

}  // namespace kestova
