// SPDX-License-Identifier: Apache-2.0
#include "values/RangeCheck.h"

#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>

namespace kestova {

void checkRange(const NSObject& object, const char* operation, NSRange range, NSUInteger length) {
  if (range.location > length || range.length > length - range.location) [[unlikely]] {
    throw NSException(NSRangeException, NSString::stringWithFormat(
                                            "-[%@ %s]: range {%lu, %lu} lies beyond length %lu",
                                            NSStringFromClass(object.classDescriptor()), operation,
                                            range.location, range.length, length));
  }
}

void checkIndex(const NSObject& object, const char* operation, NSUInteger index, NSUInteger count) {
  if (index >= count) [[unlikely]] {
    throw NSException(NSRangeException,
                      NSString::stringWithFormat("-[%@ %s]: index %lu lies beyond count %lu",
                                                 NSStringFromClass(object.classDescriptor()),
                                                 operation, index, count));
  }
}

void checkArgument(const NSObject& object, const char* operation, bool present) {
  if (!present) [[unlikely]] {
    throw NSException(
        NSInvalidArgumentException,
        NSString::stringWithFormat("-[%@ %s]: nil argument",
                                   NSStringFromClass(object.classDescriptor()), operation));
  }
}

}  // namespace kestova
