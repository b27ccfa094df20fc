// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// What kind of change an observer is told of. A property that is set as a whole: setting.
enum NSKeyValueChange : NSUInteger {
  NSKeyValueChangeSetting = 1,
  NSKeyValueChangeInsertion = 2,
  NSKeyValueChangeRemoval = 3,
  NSKeyValueChangeReplacement = 4,
};

/// \name The keys of the change dictionary
/// @{
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSKeyValueChangeKindKey;  ///< NSKeyValueChange
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSKeyValueChangeNewKey;   ///< value after it
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSKeyValueChangeOldKey;   ///< value before it
/// Present and true in what is told before a change.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSKeyValueChangeNotificationIsPriorKey;
/// @}

}  // namespace kestova
