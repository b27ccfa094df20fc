// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Gestalt.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// The code's four bytes as text, from the highest to the lowest: 0x54455854 is "TEXT". A zero byte
/// ends the text. The bytes are read as UTF-8; those that are none show as U+FFFD. Any thread.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> OVStringForOSType(OSType code);

/// A new random UUID, such as "9F1C2A0B-5B0E-4B7C-8A47-1D2F3E4A5B6C". Any thread.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> NSStringUUID();

}  // namespace kestova
