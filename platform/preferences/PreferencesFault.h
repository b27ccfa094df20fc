// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>

namespace kestova {

/// Why preferences can't be read or written. Thrown within the store only: a domain logs it, keeps
/// what is to be written, and goes on with what it has.
struct PreferencesFault {
  /// What follows the colon in the log: no sentence, no full stop.
  Ref<NSString> problem;
};

/// The same for a call of the system that failed: "cannot make the folder: Permission denied".
PreferencesFault systemFault(const char* deed, int errorNumber);

}  // namespace kestova
