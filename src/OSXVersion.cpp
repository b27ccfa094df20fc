// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OSXVersion.h>
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/Gestalt.h>

namespace kestova {
namespace {

std::uint32_t versionPart(OSType selector) {
  std::int32_t part = 0;
  Gestalt(selector, &part);
  return static_cast<std::uint32_t>(part);
}

}  // namespace

std::uint32_t OSXVersion() {
  static dispatch_once_t once;
  static std::uint32_t version;
  dispatch_once(&once, [] {
    version = OSXVersionMake(versionPart(gestaltSystemVersionMajor),
                             versionPart(gestaltSystemVersionMinor),
                             versionPart(gestaltSystemVersionBugFix));
  });
  return version;
}

}  // namespace kestova
