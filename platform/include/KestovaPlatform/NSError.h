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
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSLocalizedDescriptionKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSLocalizedFailureReasonErrorKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSLocalizedRecoverySuggestionErrorKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSLocalizedRecoveryOptionsErrorKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSRecoveryAttempterErrorKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSUnderlyingErrorKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSHelpAnchorErrorKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSURLErrorKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFilePathErrorKey;
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

  Ref<NSString> description() const override;
  id copy() const override { return self(); }

 protected:
  NSError(Ref<NSString> domain, NSInteger code, Ref<NSDictionary> userInfo) noexcept;

 private:
  Ref<NSString> domain_;
  NSInteger code_;
  Ref<NSDictionary> userInfo_;
};

}  // namespace kestova
