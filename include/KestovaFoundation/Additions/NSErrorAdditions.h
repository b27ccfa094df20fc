// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSError.h>

namespace kestova {

inline namespace NSError_KestovaAdditions {

/// A new error with the receiver's domain and code and its user info overlaid with the entries: on
/// a shared key the new one wins. Null adds nothing. Any thread.
KESTOVA_FOUNDATION_EXPORT Ref<NSError> errorByAppendingUserInfo(const Ref<NSError>& self,
                                                                const Ref<NSDictionary>& userInfo);

/// The description, the failure reason and the recovery suggestion that the user info holds, in
/// that order with a blank between; empty when it holds none. Any thread.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> localizedDescriptionFailureReasonAndSuggestion(
    const Ref<NSError>& self);

}  // namespace NSError_KestovaAdditions

}  // namespace kestova
