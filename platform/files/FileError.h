// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSURL.h>

namespace kestova {

/// Whether a file was to be read, to be asked about without being read, or to be changed: the same
/// number means different codes. Whatever leads to no item, such as a name that none can have or a
/// loop of links, is a missing one to a question.
enum class FileAccess { reading, asking, writing };

/// The platform's error for an error number of the system (not 0) at a path: its code in
/// NSCocoaErrorDomain, texts, the path, and the number itself as the underlying error.
Ref<NSError> fileError(FileAccess access, const Ref<NSString>& path, int number);

/// The same for a URL that is none of a file; null is one, too.
Ref<NSError> schemeError(FileAccess access, const Ref<NSURL>& url);

/// Stores the error in the location that a caller gave, which may be null, and answers false.
bool failWith(Ref<NSError>* location, Ref<NSError> error);

}  // namespace kestova
