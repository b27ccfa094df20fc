// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/Gestalt.h>

#include <cstddef>
#include <fstream>
#include <string>

#include "values/SystemRelease.h"

namespace kestova {
namespace {

/// The beginning of the administrator's file or, where there is none, the vendor's; more than such
/// files hold. Empty when neither can be read.
std::string osRelease() {
  constexpr std::size_t kMost = 64 * 1024;
  for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
    std::string text(kMost, '\0');
    if (std::ifstream file(path, std::ios::binary); file) {
      file.read(text.data(), static_cast<std::streamsize>(text.size()));
      text.resize(static_cast<std::size_t>(file.gcount()));
      return text;
    }
  }
  return {};
}

}  // namespace

OSStatus Gestalt(OSType selector, std::int32_t* response) {
  require(response != nullptr, "response != nullptr");
  if (selector < gestaltSystemVersionMajor || selector > gestaltSystemVersionBugFix) {
    return gestaltUndefSelectorErr;
  }
  const auto version = systemVersionIn(osRelease());
  if (!version) {
    return gestaltUnknownErr;
  }
  *response = (*version)[selector - gestaltSystemVersionMajor];
  return noErr;
}

}  // namespace kestova
