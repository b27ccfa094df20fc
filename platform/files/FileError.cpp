// SPDX-License-Identifier: Apache-2.0
#include "files/FileError.h"

#include <KestovaPlatform/FoundationErrors.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace kestova {
namespace {

NSInteger codeForReading(int number) {
  switch (number) {
    case ENOENT:
    case ENOTDIR:
      return NSFileReadNoSuchFileError;
    case EACCES:
    case EPERM:
      return NSFileReadNoPermissionError;
    case EILSEQ:
    case ENAMETOOLONG:
      return NSFileReadInvalidFileNameError;
    case EFBIG:
      return NSFileReadTooLargeError;
    default:
      return NSFileReadUnknownError;
  }
}

NSInteger codeForAsking(int number) {
  switch (number) {
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
    case EILSEQ:
    case ENAMETOOLONG:
      return NSFileNoSuchFileError;
    default:
      return codeForReading(number);
  }
}

NSInteger codeForWriting(int number) {
  switch (number) {
    case ENOENT:
    case ENOTDIR:
      return NSFileNoSuchFileError;
    case EACCES:
    case EPERM:
      return NSFileWriteNoPermissionError;
    case EILSEQ:
    case ENAMETOOLONG:
      return NSFileWriteInvalidFileNameError;
    case EEXIST:
    case ENOTEMPTY:
      return NSFileWriteFileExistsError;
    case ENOSPC:
    case EDQUOT:
      return NSFileWriteOutOfSpaceError;
    case EROFS:
      return NSFileWriteVolumeReadOnlyError;
    default:
      return NSFileWriteUnknownError;
  }
}

NSInteger codeFor(FileAccess access, int number) {
  return access == FileAccess::reading  ? codeForReading(number)
         : access == FileAccess::asking ? codeForAsking(number)
                                        : codeForWriting(number);
}

}  // namespace

Ref<NSError> fileError(FileAccess access, const Ref<NSString>& path, int number) {
  const bool changes = access == FileAccess::writing;
  const auto userInfo = NSMutableDictionary::of({
      {NSLocalizedDescriptionKey,
       NSString::stringWithFormat("\"%@\" could not be %s.", path, changes ? "changed" : "read")},
      {NSUnderlyingErrorKey,
       NSError::errorWithDomain_code_userInfo(NSPOSIXErrorDomain, number, nullptr)},
  });
  if (path) {
    userInfo->setObject_forKey(path, NSFilePathErrorKey);
  }
  if (const char* reason = strerrordesc_np(number)) {
    userInfo->setObject_forKey(reason, NSLocalizedFailureReasonErrorKey);
  }
  return NSError::errorWithDomain_code_userInfo(NSCocoaErrorDomain, codeFor(access, number),
                                                userInfo);
}

Ref<NSError> schemeError(FileAccess access, const Ref<NSURL>& url) {
  const auto userInfo =
      NSMutableDictionary::of({{NSLocalizedDescriptionKey,
                                NSString::stringWithFormat("\"%@\" is the URL of no file.", url)}});
  if (url) {
    userInfo->setObject_forKey(url, NSURLErrorKey);
  }
  return NSError::errorWithDomain_code_userInfo(NSCocoaErrorDomain,
                                                access == FileAccess::writing
                                                    ? NSFileWriteUnsupportedSchemeError
                                                    : NSFileReadUnsupportedSchemeError,
                                                userInfo);
}

bool failWith(Ref<NSError>* location, Ref<NSError> error) {
  if (location != nullptr) {
    *location = std::move(error);
  }
  return false;
}

}  // namespace kestova
