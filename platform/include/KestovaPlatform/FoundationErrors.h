// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSTypes.h>

namespace kestova {

/// The codes of errors in NSCocoaErrorDomain.
enum : NSInteger {
  NSFileNoSuchFileError = 4,  ///< the item to change or to ask about is not there

  // Reading
  NSFileReadUnknownError = 256,
  NSFileReadNoPermissionError = 257,
  NSFileReadInvalidFileNameError = 258,
  NSFileReadCorruptFileError = 259,
  NSFileReadNoSuchFileError = 260,
  NSFileReadUnsupportedSchemeError = 262,  ///< a URL of no file
  NSFileReadTooLargeError = 263,

  // Writing
  NSFileWriteUnknownError = 512,
  NSFileWriteNoPermissionError = 513,
  NSFileWriteInvalidFileNameError = 514,
  NSFileWriteFileExistsError = 516,
  NSFileWriteUnsupportedSchemeError = 518,  ///< a URL of no file
  NSFileWriteOutOfSpaceError = 640,
  NSFileWriteVolumeReadOnlyError = 642,

  NSFormattingError = 2048,  ///< text that isn't of the form that was asked for

  // Property lists
  NSPropertyListReadCorruptError = 3840,
  NSPropertyListReadUnknownVersionError = 3841,
  NSPropertyListReadStreamError = 3842,
  NSPropertyListWriteStreamError = 3851,
  NSPropertyListWriteInvalidError = 3852,
};

}  // namespace kestova
