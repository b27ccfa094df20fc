// SPDX-License-Identifier: Apache-2.0
#include "files/MountTable.h"

#include <KestovaPlatform/NSData.h>

#include "files/WholeFile.h"

#include <sys/sysmacros.h>

#include <charconv>

namespace kestova {
namespace {

/// Takes what stands before the separator, and the separator, from the front of the text.
std::string_view take(std::string_view& text, char separator) {
  const auto end = text.find(separator);
  const auto taken = text.substr(0, end);
  text.remove_prefix(end == text.npos ? text.size() : end + 1);
  return taken;
}

template <class Number>
std::optional<Number> numberIn(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isWhole = error == std::errc() && end == text.data() + text.size();
  return isWhole ? std::optional(number) : std::nullopt;
}

std::optional<dev_t> deviceIn(std::string_view text) {
  const auto first = numberIn<unsigned>(take(text, ':'));
  const auto second = numberIn<unsigned>(text);
  return first && second ? std::optional(makedev(*first, *second)) : std::nullopt;
}

bool isOctal(char digit) { return digit >= '0' && digit <= '7'; }

/// Three octal digits behind a backslash stand for a byte that would break the table.
std::string unescapedPlace(std::string_view text) {
  std::string place;
  while (!text.empty()) {
    const bool isEscape = text.size() >= 4 && text[0] == '\\' && isOctal(text[1]) &&
                          isOctal(text[2]) && isOctal(text[3]);
    place.push_back(
        isEscape ? static_cast<char>((text[1] - '0') * 64 + (text[2] - '0') * 8 + text[3] - '0')
                 : text[0]);
    text.remove_prefix(isEscape ? 4 : 1);
  }
  return place;
}

/// Identifier, parent, device, the mounted part of the file system, place; then what is not needed.
std::optional<Mount> mountInLine(std::string_view line) {
  const auto identifier = numberIn<std::uint64_t>(take(line, ' '));
  const auto parent = numberIn<std::uint64_t>(take(line, ' '));
  const auto device = deviceIn(take(line, ' '));
  take(line, ' ');
  std::string place = unescapedPlace(take(line, ' '));
  if (!identifier || !parent || !device || !place.starts_with('/')) {
    return std::nullopt;
  }
  return Mount{*identifier, *parent, *device, std::move(place)};
}

}  // namespace

std::optional<Mount> mountIn(std::string_view table, std::uint64_t identifier) {
  while (!table.empty()) {
    auto mount = mountInLine(take(table, '\n'));
    if (mount && mount->identifier == identifier) {
      return mount;
    }
  }
  return std::nullopt;
}

int readMountTable(std::string& table) {
  const auto contents = NSMutableData::data();
  const int error = readWholeFile("/proc/self/mountinfo", *contents);
  table.assign(reinterpret_cast<const char*>(contents->bytes()), contents->length());
  return error;
}

}  // namespace kestova
