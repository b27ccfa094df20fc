// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSArrayAdditions.h>

namespace kestova {

inline namespace NSArray_DataAdditions {

/// What is no data reaches `appendData` as null, which refuses it.
Ref<NSMutableData> componentsJoinedByData(const Ref<NSArray>& self, const Ref<NSData>& separator) {
  const auto joined = NSMutableData::data();
  bool isFirst = true;
  for (const id& element : self) {
    if (!isFirst) {
      joined->appendData(separator);
    }
    joined->appendData(cast<NSData>(element));
    isFirst = false;
  }
  return joined;
}

}  // namespace NSArray_DataAdditions

}  // namespace kestova
