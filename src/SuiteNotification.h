// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>

namespace kestova {

/// Announces a change of a suite to all programs, with the sender's bundle identifier.
void postSuiteChange(const Ref<NSString>& suite, const Ref<NSString>& sender);

}  // namespace kestova
