// SPDX-License-Identifier: Apache-2.0
#include "preferences/PropertyListCopy.h"

#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>

#include "preferences/BinaryPropertyListReader.h"
#include "preferences/BinaryPropertyListWriter.h"
#include "preferences/PropertyListFault.h"

namespace kestova {
namespace {

bool isLeaf(const NSObject& value) {
  return dynamic_cast<const NSString*>(&value) != nullptr ||
         dynamic_cast<const NSNumber*>(&value) != nullptr ||
         dynamic_cast<const NSData*>(&value) != nullptr;
}

}  // namespace

id propertyListCopy(const id& value, const Ref<NSString>& key) {
  if (value && key && isLeaf(*value)) {
    return value->copy();
  }
  try {
    const auto bytes = BinaryPropertyListWriter::write(NSDictionary::of({{key, value}}));
    const auto copy = BinaryPropertyListReader::read(bytes->span(), NSPropertyListImmutable);
    return cast<NSDictionary>(copy)->objectForKey(key);
  } catch (const PropertyListFault& fault) {
    throw NSException(NSInvalidArgumentException, fault.problem);
  }
}

}  // namespace kestova
