// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// \name Domains: what an error's code is a number of
/// @{
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSCocoaErrorDomain;     ///< the platform's own
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSPOSIXErrorDomain;     ///< errno
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSOSStatusErrorDomain;  ///< OSStatus
/// @}

/// \name Keys of an error's user info
/// @{
/// A text for people: what happened.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSLocalizedDescriptionKey;
/// A text for people: why.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSLocalizedFailureReasonErrorKey;
/// A text for people: what they can do about it.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSLocalizedRecoverySuggestionErrorKey;
/// An array of texts: the titles of the buttons that offer it.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSLocalizedRecoveryOptionsErrorKey;
/// An object that does what such a button says.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSRecoveryAttempterErrorKey;
/// The NSError that lies beneath.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSUnderlyingErrorKey;
/// A text: where the help tells more.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSHelpAnchorErrorKey;
/// The NSURL that it happened to.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSURLErrorKey;
/// The path, a text, that it happened to.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFilePathErrorKey;
/// A text for people who debug.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSDebugDescriptionErrorKey;
/// @}

/// Why an operation could not be done: a domain, a code in that domain, and texts and objects that
/// explain it.
///
///     Ref<NSError> error;
///     if (!stream->open_error(OVBinaryStreamOpenForReading, &error)) {
///       std::cerr << error->localizedDescription() << '\n';
///     }
///
/// Threads: immutable; any number of threads may read one.
class KESTOVA_PLATFORM_EXPORT NSError : public NSObject {
  KESTOVA_CLASS(NSError, NSObject)

 public:
  /// `userInfo` may be null and stands for an empty one. A null domain throws
  /// NSInvalidArgumentException.
  static Ref<NSError> errorWithDomain_code_userInfo(const Ref<NSString>& domain, NSInteger code,
                                                    const Ref<NSDictionary>& userInfo);

  const Ref<NSString>& domain() const noexcept { return domain_; }
  NSInteger code() const noexcept { return code_; }
  /// Never null.
  const Ref<NSDictionary>& userInfo() const noexcept { return userInfo_; }

  /// What happened, for people. Where the user info has no text, one made of domain and code.
  Ref<NSString> localizedDescription() const;

  /// \name Entries of the user info; null where there is none.
  /// @{
  Ref<NSString> localizedFailureReason() const;
  Ref<NSString> localizedRecoverySuggestion() const;
  Ref<NSArray> localizedRecoveryOptions() const;
  id recoveryAttempter() const;
  Ref<NSString> helpAnchor() const;
  /// @}

  /// Same domain, code and user info.
  bool isEqual(const id& other) const override;
  NSUInteger hash() const override;

  /// "Error Domain=NSPOSIXErrorDomain Code=2 "…" UserInfo=…", with the localized description.
  Ref<NSString> description() const override;

  /// This error itself.
  id copy() const override { return self(); }

 protected:
  NSError(Ref<NSString> domain, NSInteger code, Ref<NSDictionary> userInfo) noexcept;

 private:
  Ref<NSString> domain_;
  NSInteger code_;
  Ref<NSDictionary> userInfo_;
};

}  // namespace kestova
