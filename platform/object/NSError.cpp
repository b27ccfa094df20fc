// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>

#include <utility>

namespace kestova {

constinit const StringConstant NSCocoaErrorDomain{"NSCocoaErrorDomain"};
constinit const StringConstant NSPOSIXErrorDomain{"NSPOSIXErrorDomain"};
constinit const StringConstant NSOSStatusErrorDomain{"NSOSStatusErrorDomain"};

constinit const StringConstant NSLocalizedDescriptionKey{"NSLocalizedDescription"};
constinit const StringConstant NSLocalizedFailureReasonErrorKey{"NSLocalizedFailureReason"};
constinit const StringConstant NSLocalizedRecoverySuggestionErrorKey{
    "NSLocalizedRecoverySuggestion"};
constinit const StringConstant NSLocalizedRecoveryOptionsErrorKey{"NSLocalizedRecoveryOptions"};
constinit const StringConstant NSRecoveryAttempterErrorKey{"NSRecoveryAttempter"};
constinit const StringConstant NSUnderlyingErrorKey{"NSUnderlyingError"};
constinit const StringConstant NSHelpAnchorErrorKey{"NSHelpAnchor"};
constinit const StringConstant NSURLErrorKey{"NSURL"};
constinit const StringConstant NSFilePathErrorKey{"NSFilePath"};
constinit const StringConstant NSDebugDescriptionErrorKey{"NSDebugDescription"};

KESTOVA_DEFINE_CLASS(
    NSError, .property<&NSError::domain>("domain")
                 .property<&NSError::code>("code")
                 .property<&NSError::userInfo>("userInfo")
                 .property<&NSError::localizedDescription>("localizedDescription")
                 .property<&NSError::localizedFailureReason>("localizedFailureReason")
                 .property<&NSError::localizedRecoverySuggestion>("localizedRecoverySuggestion")
                 .property<&NSError::localizedRecoveryOptions>("localizedRecoveryOptions")
                 .property<&NSError::recoveryAttempter>("recoveryAttempter")
                 .property<&NSError::helpAnchor>("helpAnchor"))

NSError::NSError(Ref<NSString> domain, NSInteger code, Ref<NSDictionary> userInfo) noexcept
    : domain_(std::move(domain)), code_(code), userInfo_(std::move(userInfo)) {}

Ref<NSError> NSError::errorWithDomain_code_userInfo(const Ref<NSString>& domain, NSInteger code,
                                                    const Ref<NSDictionary>& userInfo) {
  if (!domain) {
    throw NSException(NSInvalidArgumentException, "An error needs a domain.");
  }
  return make<NSError>(copyOf(domain), code,
                       userInfo ? copyOf(userInfo) : NSDictionary::dictionary());
}

Ref<NSString> NSError::localizedDescription() const {
  const auto text = cast<NSString>(userInfo_->objectForKey(NSLocalizedDescriptionKey));
  return text ? text
              : NSString::stringWithFormat("The operation could not be completed (%@, code %ld).",
                                           domain_, code_);
}

Ref<NSString> NSError::localizedFailureReason() const {
  return cast<NSString>(userInfo_->objectForKey(NSLocalizedFailureReasonErrorKey));
}

Ref<NSString> NSError::localizedRecoverySuggestion() const {
  return cast<NSString>(userInfo_->objectForKey(NSLocalizedRecoverySuggestionErrorKey));
}

Ref<NSArray> NSError::localizedRecoveryOptions() const {
  return cast<NSArray>(userInfo_->objectForKey(NSLocalizedRecoveryOptionsErrorKey));
}

id NSError::recoveryAttempter() const {
  return userInfo_->objectForKey(NSRecoveryAttempterErrorKey);
}

Ref<NSString> NSError::helpAnchor() const {
  return cast<NSString>(userInfo_->objectForKey(NSHelpAnchorErrorKey));
}

bool NSError::isEqual(const id& other) const {
  const auto error = cast<NSError>(other);
  return error && code_ == error->code_ && domain_->isEqual(error->domain_) &&
         userInfo_->isEqual(error->userInfo_);
}

NSUInteger NSError::hash() const { return domain_->hash() ^ static_cast<NSUInteger>(code_); }

Ref<NSString> NSError::description() const {
  return NSString::stringWithFormat("Error Domain=%@ Code=%ld \"%@\" UserInfo=%@", domain_, code_,
                                    localizedDescription(), userInfo_);
}

}  // namespace kestova
