// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/FSCatalog.h>

namespace kestova {

/// Adds up the sizes of everything beneath an open folder. 0, or the number of the first error that
/// kept a folder from being read; `sums` then holds the rest.
int addUpSubtree(int folder, FSCatalogInfo& sums);

}  // namespace kestova
