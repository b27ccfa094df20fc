// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSOperation.h>
#include <KestovaPlatform/NSTypes.h>

namespace kestova {

/// A cost that any operation can carry, in whatever unit its users agree on.
inline namespace NSOperation_CostAdditions {

/// The cost is attached to the operation under the address of this variable.
extern KESTOVA_FOUNDATION_EXPORT const char NSOperationCostAssociationKey;

/// From any thread.
KESTOVA_FOUNDATION_EXPORT void setCost(const Ref<NSOperation>& self, NSInteger cost);

/// What `setCost` was given last; 0 before that. From any thread.
KESTOVA_FOUNDATION_EXPORT NSInteger cost(const Ref<NSOperation>& self);

}  // namespace NSOperation_CostAdditions

}  // namespace kestova
