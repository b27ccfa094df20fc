// SPDX-License-Identifier: Apache-2.0
#include "text/URLParts.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>

namespace kestova {
namespace {

using std::string_view;

constexpr string_view kSubDelimiters = "!$&'()*+,;=";

constexpr bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool isIn(char c, string_view set) { return set.find(c) != set.npos; }

constexpr bool isUnreserved(char c) { return isLetter(c) || isDigit(c) || isIn(c, "-._~"); }

/// What every part but the scheme may hold unescaped.
constexpr bool isCommon(char c) { return isUnreserved(c) || isIn(c, kSubDelimiters); }

constexpr int hexValue(char c) {
  return isDigit(c)               ? c - '0'
         : (c >= 'a' && c <= 'f') ? c - 'a' + 10
         : (c >= 'A' && c <= 'F') ? c - 'A' + 10
                                  : -1;
}

/// Whether a text holds only common characters, those of `more`, and complete escapes.
bool isMadeOf(string_view text, string_view more) {
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (text[index] == '%') {
      if (text.size() - index < 3 || hexValue(text[index + 1]) < 0 ||
          hexValue(text[index + 2]) < 0) {
        return false;
      }
      index += 2;
    } else if (!isCommon(text[index]) && !isIn(text[index], more)) {
      return false;
    }
  }
  return true;
}

bool isScheme(string_view text) {
  return !text.empty() && isLetter(text.front()) && std::ranges::all_of(text, [](char c) {
    return isLetter(c) || isDigit(c) || isIn(c, "+-.");
  });
}

/// Takes off the text behind the first `mark`, the mark included; nothing when there is no mark.
std::optional<std::string> takeBehind(string_view& text, char mark) {
  const auto place = text.find(mark);
  if (place == text.npos) {
    return std::nullopt;
  }
  std::string behind(text.substr(place + 1));
  text = text.substr(0, place);
  return behind;
}

std::optional<std::string> takeScheme(string_view& text) {
  const auto colon = text.find_first_of(":/");
  if (colon == text.npos || text[colon] != ':' || !isScheme(text.substr(0, colon))) {
    return std::nullopt;
  }
  std::string scheme(text.substr(0, colon));
  text.remove_prefix(colon + 1);
  return scheme;
}

std::optional<std::string> takeAuthority(string_view& text) {
  if (!text.starts_with("//")) {
    return std::nullopt;
  }
  text.remove_prefix(2);
  std::string authority(text.substr(0, text.find('/')));
  text.remove_prefix(authority.size());
  return authority;
}

/// Such a path can't begin a reference: it would be read as a scheme.
bool hasColonInFirstSegment(string_view path) {
  return path.substr(0, path.find('/')).find(':') != path.npos;
}

/// Whether the path suits what stands before it: only what makes it unambiguous is allowed.
bool isPathThere(const URLParts& parts) {
  if (!isMadeOf(parts.path, ":@/")) {
    return false;
  }
  if (parts.authority) {
    return parts.path.empty() || parts.path.front() == '/';
  }
  return parts.scheme || !hasColonInFirstSegment(parts.path);
}

bool isIPv6(string_view text) {
  in6_addr address;
  return inet_pton(AF_INET6, std::string(text).c_str(), &address) == 1;
}

/// "v" and a version in hex, a full stop, and what that version says: an address of the future.
bool isFutureAddress(string_view text) {
  const auto stop = text.find('.');
  return stop != text.npos && stop > 1 && stop + 1 < text.size() && isIn(text.front(), "vV") &&
         std::ranges::all_of(text.substr(1, stop - 1), [](char c) { return hexValue(c) >= 0; }) &&
         std::ranges::all_of(text.substr(stop + 1), [](char c) { return isCommon(c) || c == ':'; });
}

bool isHost(string_view host) {
  if (!host.starts_with('[')) {
    return isMadeOf(host, "");
  }
  if (!host.ends_with(']')) {
    return false;
  }
  const string_view literal = host.substr(1, host.size() - 2);
  return isIPv6(literal) || isFutureAddress(literal);
}

/// The number of a port, which may be missing behind its colon.
bool readPort(string_view digits, std::optional<int>& port) {
  if (digits.empty()) {
    return true;
  }
  constexpr int kLargestPort = 65535;
  int number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  port = number;
  return error == std::errc() && end == digits.data() + digits.size() && isDigit(digits.front()) &&
         number <= kLargestPort;
}

void removeLastSegment(std::string& path) {
  const auto slash = path.rfind('/');
  path.erase(slash == path.npos ? 0 : slash);
}

/// The path of a reference that begins with a name, seen from the base's folder (section 5.2.3).
std::string mergedPath(const URLParts& base, const std::string& path) {
  if (base.authority && base.path.empty()) {
    return '/' + path;
  }
  return base.path.substr(0, base.path.rfind('/') + 1) + path;
}

}  // namespace

std::optional<URLParts> URLParts::parse(string_view reference) {
  URLParts parts;
  parts.fragment = takeBehind(reference, '#');
  parts.query = takeBehind(reference, '?');
  parts.scheme = takeScheme(reference);
  parts.authority = takeAuthority(reference);
  parts.path = reference;
  const bool isWellFormed =
      isPathThere(parts) && (!parts.authority || URLAuthority::parse(*parts.authority)) &&
      isMadeOf(parts.query.value_or(""), ":@/?") && isMadeOf(parts.fragment.value_or(""), ":@/?");
  return isWellFormed ? std::optional(std::move(parts)) : std::nullopt;
}

URLParts URLParts::resolvedAgainst(const URLParts& base) const {
  URLParts result = *this;
  result.path = withoutDotSegments(path);
  if (scheme) {
    return result;
  }
  result.scheme = base.scheme;
  if (authority) {
    return result;
  }
  result.authority = base.authority;
  if (path.empty()) {
    result.path = base.path;
    result.query = query ? query : base.query;
  } else if (path.front() != '/') {
    result.path = withoutDotSegments(mergedPath(base, path));
  }
  return result;
}

std::string URLParts::string() const {
  std::string result = scheme ? *scheme + ':' : "";
  result += authority ? "//" + *authority : "";
  result += !authority && path.starts_with("//") ? "/." : "";
  result += !scheme && !authority && hasColonInFirstSegment(path) ? "./" : "";
  result += path;
  result += query ? '?' + *query : "";
  result += fragment ? '#' + *fragment : "";
  return result;
}

std::optional<URLAuthority> URLAuthority::parse(string_view authority) {
  URLAuthority result;
  if (const auto at = authority.find('@'); at != authority.npos) {
    string_view user = authority.substr(0, at);
    authority.remove_prefix(at + 1);
    if (!isMadeOf(user, ":")) {
      return std::nullopt;
    }
    result.password = takeBehind(user, ':');
    result.user = user;
  }
  const auto colon = authority.rfind(':');
  const auto bracket = authority.rfind(']');
  const bool hasPort = colon != authority.npos && (bracket == authority.npos || colon > bracket);
  if (hasPort && !readPort(authority.substr(colon + 1), result.port)) {
    return std::nullopt;
  }
  result.host = hasPort ? authority.substr(0, colon) : authority;
  return isHost(result.host) ? std::optional(std::move(result)) : std::nullopt;
}

std::string escapedPath(string_view bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string result;
  for (const char byte : bytes) {
    if (isCommon(byte) || isIn(byte, ":@/")) {
      result.push_back(byte);
    } else {
      const auto value = static_cast<unsigned char>(byte);
      result.append({'%', kDigits[value >> 4], kDigits[value & 0xF]});
    }
  }
  return result;
}

std::string unescaped(string_view text) {
  std::string result;
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (text[index] == '%') {
      result.push_back(
          static_cast<char>(hexValue(text[index + 1]) << 4 | hexValue(text[index + 2])));
      index += 2;
    } else {
      result.push_back(text[index]);
    }
  }
  return result;
}

std::string withoutDotSegments(string_view path) {
  std::string result;
  while (!path.empty()) {
    const auto slash = path.find('/', path.front() == '/' ? 1 : 0);
    const string_view segment = path.substr(0, slash);
    const bool isLast = slash == path.npos;
    path.remove_prefix(isLast ? path.size() : slash);
    if (segment == "/." || segment == "/..") {
      if (segment == "/..") {
        removeLastSegment(result);
      }
      path = isLast ? string_view("/") : path;
    } else if (segment == "." || segment == "..") {
      path.remove_prefix(isLast ? 0 : 1);
    } else {
      result += segment;
    }
  }
  return result;
}

}  // namespace kestova
