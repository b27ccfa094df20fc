// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kestova {

/// The five parts of a URL reference, as RFC 3986 splits it, each in its escaped form. An absent
/// part differs from an empty one.
struct URLParts {
  std::optional<std::string> scheme;
  std::optional<std::string> authority;
  std::string path;
  std::optional<std::string> query;
  std::optional<std::string> fragment;

  /// The parts of a reference; nothing when it is malformed.
  static std::optional<URLParts> parse(std::string_view reference);

  /// These parts with those of an absolute base taken in (section 5.2.2).
  URLParts resolvedAgainst(const URLParts& base) const;

  /// The reference that the parts spell (section 5.3), with a "." in front of a path that would be
  /// read as something else.
  std::string string() const;
};

/// An authority taken apart, each piece in its escaped form.
struct URLAuthority {
  std::optional<std::string> user;
  std::optional<std::string> password;
  std::string host;
  std::optional<int> port;

  /// Nothing when it is malformed or the port is above 65535.
  static std::optional<URLAuthority> parse(std::string_view authority);
};

/// A path's bytes with everything escaped that a path may not hold as it is.
std::string escapedPath(std::string_view bytes);

/// The bytes that a well-formed escaped text stands for.
std::string unescaped(std::string_view text);

/// A path without its "." and ".." (section 5.2.4).
std::string withoutDotSegments(std::string_view path);

}  // namespace kestova
