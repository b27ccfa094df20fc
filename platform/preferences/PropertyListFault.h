// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>

namespace kestova {

/// Why a property list can't be read or written. Thrown within the codecs only: what they are
/// called through makes an error of it.
struct PropertyListFault {
  /// A whole sentence for people, with the place.
  Ref<NSString> problem;
  /// One of the codes of FoundationErrors.h.
  NSInteger code = NSPropertyListReadCorruptError;
};

}  // namespace kestova
