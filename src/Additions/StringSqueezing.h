// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>

namespace kestova {

/// The text in which the first match of `once` written twice has become `once` until there was none
/// any more, without going back to the beginning for each; the receiver when there is none at all.
Ref<NSString> squeezed(const Ref<NSString>& self, const Ref<NSString>& once, NSUInteger options);

}  // namespace kestova
