// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/MacErrors.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSURL.h>

#include <cstdint>
#include <mutex>

namespace kestova {

/// Puts an error together, part by part.
///
///     Ref<NSError> error = OVMakeError([&](const Ref<OVNSErrorBuilder>& builder) {
///       builder->setCode(17);
///       builder->setLocalizedDescription("The document could not be saved.");
///       builder->setFilePath(path);
///     });
///
/// A new builder has the domain NSCocoaErrorDomain, the code 0, an empty user info and the
/// description "Unknown error."; everything else is nothing. Strings, arrays, dictionaries, errors
/// and URLs are kept as copies, the recovery attempter is shared.
///
/// Threads: each property is read and written atomically; a builder as a whole is meant for one
/// thread at a time, and to be short-lived.
class KESTOVA_FOUNDATION_EXPORT OVNSErrorBuilder : public NSObject {
  KESTOVA_CLASS(OVNSErrorBuilder, NSObject)

 public:
  /// A new builder; of a subclass where one is named: `errorBuilder<MyBuilder>()`.
  template <class Builder = OVNSErrorBuilder>
  static Ref<Builder> errorBuilder() {
    return make<Builder>();
  }

  /// Hands a new builder to the block, once, and answers the error that it then makes. The block is
  /// required: an empty one ends the process.
  static Ref<NSError> buildError(const Block<void(const Ref<OVNSErrorBuilder>&)>& block);

  static Ref<OVNSErrorBuilder> init() { return errorBuilder(); }

  /// Adds the entries to the user info; on a shared key the new one wins. Null adds nothing.
  void appendUserInfo(const Ref<NSDictionary>& userInfo);

  /// A new error from the present state, independent of every other: the user info, overlaid with
  /// each text and object below that is not nothing, under its key. The builder stays as it is.
  Ref<NSError> error() const;

  /// What the code is a number of, such as `NSPOSIXErrorDomain`.
  Ref<NSString> domain() const;
  void setDomain(const Ref<NSString>& domain);

  /// The number, of which the domain tells the meaning.
  NSInteger code() const;
  void setCode(NSInteger code);

  /// The starting entries; null is none.
  Ref<NSDictionary> userInfo() const;
  void setUserInfo(const Ref<NSDictionary>& userInfo);

  /// Fills NSLocalizedDescriptionKey.
  Ref<NSString> localizedDescription() const;
  void setLocalizedDescription(const Ref<NSString>& text);

  /// Fills NSLocalizedFailureReasonErrorKey.
  Ref<NSString> localizedFailureReason() const;
  void setLocalizedFailureReason(const Ref<NSString>& text);

  /// Fills NSLocalizedRecoverySuggestionErrorKey.
  Ref<NSString> localizedRecoverySuggestion() const;
  void setLocalizedRecoverySuggestion(const Ref<NSString>& text);

  /// Fills NSLocalizedRecoveryOptionsErrorKey with an array of strings.
  Ref<NSArray> localizedRecoveryOptions() const;
  void setLocalizedRecoveryOptions(const Ref<NSArray>& options);

  /// Fills NSRecoveryAttempterErrorKey. The object is shared, not copied.
  id recoveryAttempter() const;
  void setRecoveryAttempter(const id& attempter);

  /// Fills NSUnderlyingErrorKey.
  Ref<NSError> underlyingError() const;
  void setUnderlyingError(const Ref<NSError>& error);

  /// Fills NSHelpAnchorErrorKey.
  Ref<NSString> helpAnchor() const;
  void setHelpAnchor(const Ref<NSString>& anchor);

  /// Fills NSURLErrorKey.
  Ref<NSURL> URL() const;
  void setURL(const Ref<NSURL>& url);

  /// Fills NSFilePathErrorKey.
  Ref<NSString> filePath() const;
  void setFilePath(const Ref<NSString>& path);

 protected:
  OVNSErrorBuilder();

 private:
  template <class T>
  T read(const T& property) const {
    const std::scoped_lock lock(mutex_);
    return property;
  }
  template <class T>
  void write(const char* key, T& property, T value);

  mutable std::mutex mutex_;  // guards each property by itself
  Ref<NSString> domain_;
  NSInteger code_ = 0;
  Ref<NSDictionary> userInfo_;
  Ref<NSString> localizedDescription_;
  Ref<NSString> localizedFailureReason_;
  Ref<NSString> localizedRecoverySuggestion_;
  Ref<NSArray> localizedRecoveryOptions_;
  id recoveryAttempter_;
  Ref<NSError> underlyingError_;
  Ref<NSString> helpAnchor_;
  Ref<NSURL> url_;
  Ref<NSString> filePath_;
};

/// The same as `OVNSErrorBuilder::buildError`. Any thread.
KESTOVA_FOUNDATION_EXPORT Ref<NSError> OVMakeError(
    const Block<void(const Ref<OVNSErrorBuilder>&)>& block);

/// An error of NSPOSIXErrorDomain for an errno value: the description "An error occurred." and the
/// failure reason "Error (number) text of the C library". 0 is no exception to that. Any thread.
KESTOVA_FOUNDATION_EXPORT Ref<NSError> OVMakeErrorWithPOSIXError(std::int32_t err);

/// A sentence about a status: "Copy failed with error code -43 (fnfErr). File not found." for the
/// operation "Copy", "Error code -43 (fnfErr). File not found." for none (null). A status without a
/// name that reads as four ASCII characters shows them: "Error code 1718449215 ('fmt?').". Any
/// thread.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> OVMakeStandardMacErrorString(const Ref<NSString>& operation,
                                                                     OSStatus status);

/// Puts a description in front of an error: domain and code stay, `description` (required) becomes
/// the description, the old description with the old failure reason behind it becomes the failure
/// reason, the recovery suggestion stays and the old error is the underlying one. Without an error
/// (null): an error of the main bundle's identifier as domain, code 0, with that description alone.
/// Any thread.
KESTOVA_FOUNDATION_EXPORT Ref<NSError> OVWrapErrorWithDescription(const Ref<NSError>& error,
                                                                  const Ref<NSString>& description);

}  // namespace kestova
