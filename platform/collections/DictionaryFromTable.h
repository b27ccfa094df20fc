// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSDictionary.h>

#include "collections/ObjectTable.h"

namespace kestova {

/// \name Dictionaries that take a table over, whose keys never change
/// @{
Ref<NSDictionary> dictionaryFromTable(ObjectMap table);
Ref<NSMutableDictionary> mutableDictionaryFromTable(ObjectMap table);
/// @}

}  // namespace kestova
