// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSOperationAdditions.h>
#include <KestovaPlatform/AssociatedObjects.h>
#include <KestovaPlatform/NSNumber.h>

namespace kestova {

inline namespace NSOperation_CostAdditions {

const char NSOperationCostAssociationKey = 0;

void setCost(const Ref<NSOperation>& self, NSInteger cost) {
  setAssociatedObject(self, &NSOperationCostAssociationKey, cost, AssociationRetain);
}

NSInteger cost(const Ref<NSOperation>& self) {
  const auto number = cast<NSNumber>(associatedObject(self, &NSOperationCostAssociationKey));
  return number ? number->integerValue() : 0;
}

}  // namespace NSOperation_CostAdditions

}  // namespace kestova
