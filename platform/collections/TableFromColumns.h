// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "collections/ObjectTable.h"

#include <vector>

namespace kestova {

/// A table of as many keys as objects, for which it is made as one: sooner than key by key. Of
/// equal keys the first one stays, with the last one's object. What has no place in the table is
/// left in the vectors, among nulls.
ObjectMap tableFromColumns(std::vector<id>& keys, std::vector<id>& objects);

}  // namespace kestova
