// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/MacErrors.h>

namespace kestova {

/// The status that the file services report for an error number of the system; 0 is `noErr`.
/// A number without a status of its own becomes `kPOSIXErrorBase` plus the number.
OSStatus statusForErrno(int error);

/// The error number that such a status (not `noErr`) stands for; `EIO` where it is none of them.
int errnoForStatus(OSStatus status);

}  // namespace kestova
