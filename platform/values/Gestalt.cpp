// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/Gestalt.h>

#include "values/SystemRelease.h"

namespace kestova {
OSStatus Gestalt(OSType selector, std::int32_t* response) {
  require(response != nullptr, "response != nil");
  if (selector < gestaltSystemVersionMajor || selector > gestaltSystemVersionBugFix) {
    return gestaltUndefSelectorErr;
  }
  const auto version = systemVersionIn(systemRelease());
  if (!version) {
    return gestaltUnknownErr;
  }
  *response = (*version)[selector - gestaltSystemVersionMajor];
  return noErr;
}

}  // namespace kestova
