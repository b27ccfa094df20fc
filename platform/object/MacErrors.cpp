// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/MacErrors.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

namespace kestova {
namespace {

struct StatusText {
  OSStatus status;
  const char* name;
  const char* comment;
};

constexpr std::array kStatusTexts = {
    StatusText{unimpErr, "unimpErr", "Not available on this system"},
    StatusText{dirFulErr, "dirFulErr", "Folder full"},
    StatusText{dskFulErr, "dskFulErr", "Disk full"},
    StatusText{nsvErr, "nsvErr", "No such volume"},
    StatusText{ioErr, "ioErr", "Error while reading or writing the device"},
    StatusText{bdNamErr, "bdNamErr", "File name empty, too long or not allowed"},
    StatusText{fnOpnErr, "fnOpnErr", "File not open"},
    StatusText{eofErr, "eofErr", "End of file"},
    StatusText{tmfoErr, "tmfoErr", "Too many files open"},
    StatusText{fnfErr, "fnfErr", "File not found"},
    StatusText{wPrErr, "wPrErr", "Volume is read-only"},
    StatusText{fLckdErr, "fLckdErr", "File is locked"},
    StatusText{vLckdErr, "vLckdErr", "Volume is locked"},
    StatusText{fBsyErr, "fBsyErr", "File is busy"},
    StatusText{dupFNErr, "dupFNErr", "A file of that name exists already"},
    StatusText{paramErr, "paramErr", "Argument not allowed"},
    StatusText{permErr, "permErr", "Operation not permitted"},
    StatusText{extFSErr, "extFSErr", "The file system does not support this"},
    StatusText{memFullErr, "memFullErr", "Not enough memory"},
    StatusText{dirNFErr, "dirNFErr", "Folder not found"},
    StatusText{badMovErr, "badMovErr", "A folder cannot be put into itself"},
    StatusText{userCanceledErr, "userCanceledErr", "Cancelled by the user"},
    StatusText{diffVolErr, "diffVolErr", "Files are on different volumes"},
    StatusText{fileBoundsErr, "fileBoundsErr", "File too large"},
    StatusText{errFSBadFSRef, "errFSBadFSRef", "File reference not valid"},
    StatusText{errFSNotAFolder, "errFSNotAFolder", "Not a folder"},
    StatusText{errFSNoMoreItems, "errFSNoMoreItems", "No more items"},
    StatusText{afpAccessDenied, "afpAccessDenied", "Permission denied"},
    StatusText{afpObjectNotFound, "afpObjectNotFound", "Object not found"},
    StatusText{eventInternalErr, "eventInternalErr", "Event service failed"},
    StatusText{eventParameterNotFoundErr, "eventParameterNotFoundErr",
               "The event has no such parameter"},
    StatusText{eventNotHandledErr, "eventNotHandledErr", "No handler took the event"},
    StatusText{eventHotKeyExistsErr, "eventHotKeyExistsErr", "The hot key is taken already"},
    StatusText{eventHotKeyInvalidErr, "eventHotKeyInvalidErr", "Hot key not valid"},
    StatusText{errAuthorizationInvalidSet, "errAuthorizationInvalidSet", "Set of rights not valid"},
    StatusText{errAuthorizationInvalidRef, "errAuthorizationInvalidRef",
               "Authorization reference not valid"},
    StatusText{errAuthorizationInvalidTag, "errAuthorizationInvalidTag",
               "Authorization tag not valid"},
    StatusText{errAuthorizationInvalidPointer, "errAuthorizationInvalidPointer",
               "Result pointer not valid"},
    StatusText{errAuthorizationDenied, "errAuthorizationDenied", "Authorization denied"},
    StatusText{errAuthorizationCanceled, "errAuthorizationCanceled",
               "Authorization dismissed by the user"},
    StatusText{errAuthorizationInteractionNotAllowed, "errAuthorizationInteractionNotAllowed",
               "Authorization needs to ask the user, which is not allowed"},
    StatusText{errAuthorizationInternal, "errAuthorizationInternal",
               "Authorization service failed"},
    StatusText{errAuthorizationExternalizeNotAllowed, "errAuthorizationExternalizeNotAllowed",
               "Authorization must not leave the process"},
    StatusText{errAuthorizationInternalizeNotAllowed, "errAuthorizationInternalizeNotAllowed",
               "Authorization must not be taken from outside"},
    StatusText{errAuthorizationInvalidFlags, "errAuthorizationInvalidFlags",
               "Authorization flags not valid"},
    StatusText{errAuthorizationToolExecuteFailure, "errAuthorizationToolExecuteFailure",
               "The privileged tool could not be run"},
    StatusText{errAuthorizationToolEnvironmentError, "errAuthorizationToolEnvironmentError",
               "The privileged tool could not use its environment"},
    StatusText{errAuthorizationBadAddress, "errAuthorizationBadAddress",
               "The socket address is not valid"},
};

/// The names of the error numbers, made once: the statuses above kPOSIXErrorBase answer C strings
/// that must stay valid.
class PosixNames {
 public:
  static constexpr int kCount = 256;

  PosixNames() {
    for (int number = 1; number < kCount; ++number) {
      const char* name = strerrorname_np(number);
      names_[static_cast<std::size_t>(number)] =
          name == nullptr ? "" : std::string("kPOSIXError") + name;
    }
  }

  const char* nameOf(int number) const {
    return number > 0 && number < kCount ? names_[static_cast<std::size_t>(number)].c_str() : "";
  }

 private:
  std::array<std::string, kCount> names_;
};

const char* posixName(int number) {
  static const PosixNames& names = *new PosixNames;
  return names.nameOf(number);
}

const char* posixComment(int number) {
  const char* text = number > 0 && number < PosixNames::kCount ? strerrordesc_np(number) : nullptr;
  return text == nullptr ? "" : text;
}

const StatusText* find(OSStatus status) {
  const auto* found = std::ranges::find(kStatusTexts, status, &StatusText::status);
  return found == kStatusTexts.end() ? nullptr : found;
}

}  // namespace

const char* GetMacOSStatusErrorString(OSStatus status) {
  if (status > kPOSIXErrorBase) {
    return posixName(status - kPOSIXErrorBase);
  }
  const StatusText* text = find(status);
  return text == nullptr ? "" : text->name;
}

const char* GetMacOSStatusCommentString(OSStatus status) {
  if (status > kPOSIXErrorBase) {
    return posixComment(status - kPOSIXErrorBase);
  }
  const StatusText* text = find(status);
  return text == nullptr ? "" : text->comment;
}

}  // namespace kestova
