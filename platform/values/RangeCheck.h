// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSRange.h>

namespace kestova {

class NSObject;

/// Throws NSRangeException, naming class, operation, range and length, unless the range lies within
/// `length` units.
void checkRange(const NSObject& object, const char* operation, NSRange range, NSUInteger length);

/// Throws NSRangeException, naming class, operation, index and count, unless the index is below
/// `count`.
void checkIndex(const NSObject& object, const char* operation, NSUInteger index, NSUInteger count);

/// Throws NSInvalidArgumentException, naming class and operation, unless there is an argument.
void checkArgument(const NSObject& object, const char* operation, bool present);

}  // namespace kestova
