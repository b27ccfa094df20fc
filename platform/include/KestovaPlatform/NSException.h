// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSString.h>

#include <exception>
#include <string>

namespace kestova {

/// A failure that unwinds the stack: a name that code decides by, a reason for people, and whatever
/// else belongs to it. Thrown and caught by value; `what()` is "name: reason".
///
///     throw NSException(NSInvalidArgumentException, "index is odd");
class KESTOVA_PLATFORM_EXPORT NSException : public std::exception {
 public:
  /// Each of them may be null.
  NSException(Ref<NSString> name, Ref<NSString> reason, Ref<NSDictionary> userInfo = nullptr);

  const Ref<NSString>& name() const noexcept { return name_; }
  const Ref<NSString>& reason() const noexcept { return reason_; }
  const Ref<NSDictionary>& userInfo() const noexcept { return userInfo_; }

  const char* what() const noexcept override { return what_.c_str(); }

 private:
  Ref<NSString> name_;
  Ref<NSString> reason_;
  Ref<NSDictionary> userInfo_;
  std::string what_;
};

/// \name The platform's own exception names
/// @{
/// What has no name of its own.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSGenericException;
/// An index or a range past the end.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSRangeException;
/// An argument that an operation can't work with, often null.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSInvalidArgumentException;
/// An object that is in no state for the operation.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSInternalInconsistencyException;
/// A key that the object's class has no property for: "NSUnknownKeyException".
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSUndefinedKeyException;
/// @}

/// Throws NSInvalidArgumentException for an operation that an object's class does not support.
[[noreturn]] KESTOVA_PLATFORM_EXPORT void throwUnrecognizedSelector(const NSObject& object,
                                                                    const char* operation);

}  // namespace kestova
