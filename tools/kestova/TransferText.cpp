// SPDX-License-Identifier: Apache-2.0
#include "TransferText.h"

#include <KestovaPlatform/NSString.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace kestova::tool {
namespace {

bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

template <class... Arguments>
std::string printed(const char* format, Arguments... arguments) {
  std::array<char, 64> buffer{};
  const int length = std::snprintf(buffer.data(), buffer.size(), format, arguments...);
  return {buffer.data(), static_cast<std::size_t>(std::max(length, 0))};
}

}  // namespace

std::string byteText(double bytes) {
  constexpr std::array kUnits = {"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  std::size_t unit = 0;
  // 1023.95 would be printed as 1024.0
  while (bytes >= (unit == 0 ? 1024 : 1023.95) && unit + 1 < kUnits.size()) {
    bytes /= 1024;
    ++unit;
  }
  return printed(unit == 0 ? "%.0f %s" : "%.1f %s", bytes, kUnits[unit]);
}

std::string clockText(double seconds) {
  const auto whole = static_cast<long>(std::clamp(std::ceil(seconds), 0.0, 359999.0));
  if (whole < 3600) {
    return printed("%ld:%02ld", whole / 60, whole % 60);
  }
  return printed("%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
}

std::string displayText(std::string_view path) {
  std::string text = NSString::stringWithFileSystemRepresentation(path)->displayUTF8();
  std::ranges::replace_if(
      text, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, '?');
  return text;
}

std::size_t columnsOf(std::string_view text) {
  return text.size() - static_cast<std::size_t>(std::ranges::count_if(text, isContinuation));
}

std::string shortenedFront(const std::string& text, std::size_t columns) {
  std::size_t width = columnsOf(text);
  if (width <= columns) {
    return text;
  }
  if (columns == 0) {
    return {};
  }
  auto start = text.begin();
  while (width >= columns) {
    start = std::find_if_not(start + 1, text.end(), isContinuation);
    --width;
  }
  return "…" + std::string(start, text.end());
}

double fractionDone(const OVFileOperation& operation) {
  const auto share = [](NSUInteger done, NSUInteger total) {
    return static_cast<double>(done) / static_cast<double>(total);
  };
  if (operation.totalBytes() != 0) {
    return share(operation.bytesComplete(), operation.totalBytes());
  }
  return operation.totalObjects() == 0
             ? 0.0
             : share(operation.objectsComplete(), operation.totalObjects());
}

}  // namespace kestova::tool
