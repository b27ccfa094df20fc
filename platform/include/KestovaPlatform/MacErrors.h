// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>

#include <cstdint>

namespace kestova {

/// The status that the file, event and authorization services answer: 0 for success, else what went
/// wrong.
using OSStatus = std::int32_t;

/// The statuses by their symbolic names; what each means stands in the table behind
/// `GetMacOSStatusCommentString`.
enum : OSStatus {
  noErr = 0,

  unimpErr = -4,

  // Files
  dirFulErr = -33,
  dskFulErr = -34,
  nsvErr = -35,
  ioErr = -36,
  bdNamErr = -37,
  fnOpnErr = -38,
  eofErr = -39,
  tmfoErr = -42,
  fnfErr = -43,
  wPrErr = -44,
  fLckdErr = -45,
  vLckdErr = -46,
  fBsyErr = -47,
  dupFNErr = -48,
  paramErr = -50,
  permErr = -54,
  extFSErr = -58,
  memFullErr = -108,
  dirNFErr = -120,
  badMovErr = -122,
  userCanceledErr = -128,
  diffVolErr = -1303,
  fileBoundsErr = -1309,
  errFSBadFSRef = -1401,
  errFSNotAFolder = -1407,
  errFSNoMoreItems = -1417,
  afpAccessDenied = -5000,
  afpObjectNotFound = -5018,

  // Events and hot keys
  eventInternalErr = -9868,
  eventParameterNotFoundErr = -9870,
  eventNotHandledErr = -9874,
  eventHotKeyExistsErr = -9878,
  eventHotKeyInvalidErr = -9879,

  // Authorization
  errAuthorizationSuccess = 0,
  errAuthorizationInvalidSet = -60001,
  errAuthorizationInvalidRef = -60002,
  errAuthorizationInvalidTag = -60003,
  errAuthorizationInvalidPointer = -60004,
  errAuthorizationDenied = -60005,
  errAuthorizationCanceled = -60006,
  errAuthorizationInteractionNotAllowed = -60007,
  errAuthorizationInternal = -60008,
  errAuthorizationExternalizeNotAllowed = -60009,
  errAuthorizationInternalizeNotAllowed = -60010,
  errAuthorizationInvalidFlags = -60011,
  errAuthorizationToolExecuteFailure = -60031,
  errAuthorizationToolEnvironmentError = -60032,
  errAuthorizationBadAddress = -60033,

  /// A system error number without a status of its own is this base plus the number.
  kPOSIXErrorBase = 100000,
};

/// The symbolic name of a status, such as "fnfErr"; "kPOSIXErrorENODEV" and the like above
/// kPOSIXErrorBase; the empty string for 0 and for an unknown status. The text stays valid. Any
/// thread.
KESTOVA_PLATFORM_EXPORT const char* GetMacOSStatusErrorString(OSStatus status);

/// What a status means, in a few English words without a full stop; empty where the name is. The
/// text stays valid. Any thread.
KESTOVA_PLATFORM_EXPORT const char* GetMacOSStatusCommentString(OSStatus status);

}  // namespace kestova
