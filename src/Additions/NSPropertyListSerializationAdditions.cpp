// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSPropertyListSerializationAdditions.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSFileManager.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>

namespace kestova {

inline namespace NSPropertyListSerialization_KestovaAdditions {

id mutablePropertyListFromFile_error(const Ref<NSString>& path, Ref<NSString>* errorDescription) {
  if (!NSFileManager::defaultManager()->fileExistsAtPath(path)) {
    if (errorDescription != nullptr) {
      *errorDescription = "File does not exist at path.";
    }
    return nullptr;
  }
  return NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      NSData::dataWithContentsOfFile(path), NSPropertyListMutableContainers, nullptr,
      errorDescription);
}

bool writePropertyList_toFile_error(const id& propertyList, const Ref<NSString>& path,
                                    Ref<NSError>* error) {
  const auto contents = NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(
      propertyList, NSPropertyListBinaryFormat_v1_0);
  if (!contents) {
    if (error != nullptr) {
      *error = nullptr;
    }
    return false;
  }
  return contents->writeToFile_options_error(path, NSDataWritingAtomic, error);
}

}  // namespace NSPropertyListSerialization_KestovaAdditions

}  // namespace kestova
