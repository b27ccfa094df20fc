// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSArrayAdditions.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>

#include <utility>
#include <vector>

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

inline namespace NSArray_TrimmingStrings {

Ref<NSArray> stringsByTrimmingCharactersInSet(const Ref<NSArray>& self,
                                              const Ref<NSCharacterSet>& set) {
  std::vector<id> trimmed;
  trimmed.reserve(self->count());
  for (const id& element : self) {
    const auto string = cast<NSString>(element);
    if (!string) {
      throwUnrecognizedSelector(*element, "stringByTrimmingCharactersInSet:");
    }
    trimmed.emplace_back(string->stringByTrimmingCharactersInSet(set));
  }
  return NSArray::arrayWithObjects(std::move(trimmed));
}

}  // namespace NSArray_TrimmingStrings

}  // namespace kestova
