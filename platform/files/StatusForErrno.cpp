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

int errnoForStatus(OSStatus status) {
  switch (status) {
    case fnfErr:
    case dirNFErr:
      return ENOENT;
    case dupFNErr:
      return EEXIST;
    case afpAccessDenied:
      return EACCES;
    case permErr:
      return EPERM;
    case dskFulErr:
      return ENOSPC;
    case wPrErr:
      return EROFS;
    case bdNamErr:
      return ENAMETOOLONG;
    case paramErr:
    case badMovErr:
      return EINVAL;
    case memFullErr:
      return ENOMEM;
    case fBsyErr:
      return EBUSY;
    case tmfoErr:
      return EMFILE;
    case fileBoundsErr:
      return EFBIG;
    default:
      return status > kPOSIXErrorBase ? status - kPOSIXErrorBase : EIO;
  }
}

}  // namespace kestova
