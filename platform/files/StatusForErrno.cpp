// SPDX-License-Identifier: Apache-2.0
#include "files/StatusForErrno.h"

#include <cerrno>

namespace kestova {

OSStatus statusForErrno(int error) {
  switch (error) {
    case 0:
      return noErr;
    case ENOENT:
    case ELOOP:
      return fnfErr;
    case EEXIST:
      return dupFNErr;
    case EACCES:
      return afpAccessDenied;
    case EPERM:
      return permErr;
    case ENOSPC:
    case EDQUOT:
      return dskFulErr;
    case EROFS:
      return wPrErr;
    case EIO:
      return ioErr;
    case ENAMETOOLONG:
      return bdNamErr;
    case ENOTDIR:
      return dirNFErr;
    case EMFILE:
    case ENFILE:
      return tmfoErr;
    case ENOMEM:
      return memFullErr;
    case EBUSY:
    case ETXTBSY:
      return fBsyErr;
    case EXDEV:
      return diffVolErr;
    case EFBIG:
      return fileBoundsErr;
    case EINVAL:
      return paramErr;
    case ECANCELED:
      return userCanceledErr;
    default:
      return kPOSIXErrorBase + error;
  }
}

}  // namespace kestova
