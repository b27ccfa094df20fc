// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSFileManager.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// Whether both paths lead to the same folder, behind symbolic links; false where there is none.
bool isSameFolder(const Ref<NSFileManager>& self, const Ref<NSString>& path,
                  const Ref<NSString>& other);

/// Whether a folder is another one or lies beneath it; false where one of them is none.
bool isFolderWithin(const Ref<NSFileManager>& self, const Ref<NSString>& folder,
                    const Ref<NSString>& outer);

}  // namespace kestova
