// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVNSErrorBuilder.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSNumber.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace kestova {
namespace {

/// The four bytes of a status from the most significant down; empty unless all are ASCII
/// characters.
std::string fourCharacterCode(OSStatus status) {
  const auto bits = static_cast<std::uint32_t>(status);
  std::string code;
  for (int shift = 24; shift >= 0; shift -= 8) {
    code.push_back(static_cast<char>(bits >> shift & 0xFF));
  }
  const bool isText = std::ranges::all_of(code, [](char c) { return c > 0; });
  return isText ? code : std::string();
}

Ref<NSString> namePartOf(OSStatus status) {
  const char* name = GetMacOSStatusErrorString(status);
  if (*name != '\0') {
    return NSString::stringWithFormat(" (%s)", name);
  }
  const std::string code = fourCharacterCode(status);
  return code.empty() ? NSString::string() : NSString::stringWithFormat(" ('%s')", code);
}

Ref<NSString> commentPartOf(OSStatus status) {
  const char* comment = GetMacOSStatusCommentString(status);
  if (*comment == '\0') {
    return NSString::string();
  }
  const Ref<NSString> part = NSString::stringWithFormat(" %s", comment);
  return part->hasSuffix(".") ? part : part->stringByAppendingString(".");
}

void addEntry(const Ref<NSMutableDictionary>& entries, const id& value, const StringConstant& key) {
  if (value) {
    entries->setObject_forKey(value, key);
  }
}

}  // namespace

KESTOVA_DEFINE_CLASS(
    OVNSErrorBuilder,
    .property<&OVNSErrorBuilder::domain, &OVNSErrorBuilder::setDomain>("domain")
        .property<&OVNSErrorBuilder::code, &OVNSErrorBuilder::setCode>("code")
        .property<&OVNSErrorBuilder::userInfo, &OVNSErrorBuilder::setUserInfo>("userInfo")
        .property<&OVNSErrorBuilder::localizedDescription,
                  &OVNSErrorBuilder::setLocalizedDescription>("localizedDescription")
        .property<&OVNSErrorBuilder::localizedFailureReason,
                  &OVNSErrorBuilder::setLocalizedFailureReason>("localizedFailureReason")
        .property<&OVNSErrorBuilder::localizedRecoverySuggestion,
                  &OVNSErrorBuilder::setLocalizedRecoverySuggestion>("localizedRecoverySuggestion")
        .property<&OVNSErrorBuilder::localizedRecoveryOptions,
                  &OVNSErrorBuilder::setLocalizedRecoveryOptions>("localizedRecoveryOptions")
        .property<&OVNSErrorBuilder::recoveryAttempter, &OVNSErrorBuilder::setRecoveryAttempter>(
            "recoveryAttempter")
        .property<&OVNSErrorBuilder::underlyingError, &OVNSErrorBuilder::setUnderlyingError>(
            "underlyingError")
        .property<&OVNSErrorBuilder::helpAnchor, &OVNSErrorBuilder::setHelpAnchor>("helpAnchor")
        .property<&OVNSErrorBuilder::URL, &OVNSErrorBuilder::setURL>("URL")
        .property<&OVNSErrorBuilder::filePath, &OVNSErrorBuilder::setFilePath>("filePath")
        .property<&OVNSErrorBuilder::error>("error"))

OVNSErrorBuilder::OVNSErrorBuilder()
    : domain_(NSCocoaErrorDomain),
      userInfo_(NSDictionary::dictionary()),
      localizedDescription_("Unknown error.") {}

Ref<NSError> OVNSErrorBuilder::buildError(const Block<void(const Ref<OVNSErrorBuilder>&)>& block) {
  const Ref<OVNSErrorBuilder> builder = OVNSErrorBuilder::errorBuilder();
  block(builder);
  return builder->error();
}

void OVNSErrorBuilder::appendUserInfo(const Ref<NSDictionary>& userInfo) {
  const Ref<NSMutableDictionary> entries = NSMutableDictionary::dictionary();
  for (const auto& part : {this->userInfo(), userInfo}) {
    if (part) {
      entries->addEntriesFromDictionary(part);
    }
  }
  setUserInfo(entries);
}

Ref<NSError> OVNSErrorBuilder::error() const {
  const Ref<NSDictionary> start = userInfo();
  const Ref<NSMutableDictionary> entries = NSMutableDictionary::dictionary();
  if (start) {
    entries->addEntriesFromDictionary(start);
  }
  addEntry(entries, localizedDescription(), NSLocalizedDescriptionKey);
  addEntry(entries, localizedFailureReason(), NSLocalizedFailureReasonErrorKey);
  addEntry(entries, localizedRecoverySuggestion(), NSLocalizedRecoverySuggestionErrorKey);
  addEntry(entries, localizedRecoveryOptions(), NSLocalizedRecoveryOptionsErrorKey);
  addEntry(entries, recoveryAttempter(), NSRecoveryAttempterErrorKey);
  addEntry(entries, underlyingError(), NSUnderlyingErrorKey);
  addEntry(entries, helpAnchor(), NSHelpAnchorErrorKey);
  addEntry(entries, URL(), NSURLErrorKey);
  addEntry(entries, filePath(), NSFilePathErrorKey);
  return NSError::errorWithDomain_code_userInfo(domain(), code(), entries);
}

/// Announces outside the lock: observers may read the builder. The old value, too, goes outside it.
template <class T>
void OVNSErrorBuilder::write(const char* key, T& property, T value) {
  KeyValueChange change(*this, key);
  const std::scoped_lock lock(mutex_);
  std::swap(property, value);
}

Ref<NSString> OVNSErrorBuilder::domain() const { return read(domain_); }
void OVNSErrorBuilder::setDomain(const Ref<NSString>& domain) {
  write("domain", domain_, copyOf(domain));
}

NSInteger OVNSErrorBuilder::code() const { return read(code_); }
void OVNSErrorBuilder::setCode(NSInteger code) { write("code", code_, code); }

Ref<NSDictionary> OVNSErrorBuilder::userInfo() const { return read(userInfo_); }
void OVNSErrorBuilder::setUserInfo(const Ref<NSDictionary>& userInfo) {
  write("userInfo", userInfo_, copyOf(userInfo));
}

Ref<NSString> OVNSErrorBuilder::localizedDescription() const { return read(localizedDescription_); }
void OVNSErrorBuilder::setLocalizedDescription(const Ref<NSString>& text) {
  write("localizedDescription", localizedDescription_, copyOf(text));
}

Ref<NSString> OVNSErrorBuilder::localizedFailureReason() const {
  return read(localizedFailureReason_);
}
void OVNSErrorBuilder::setLocalizedFailureReason(const Ref<NSString>& text) {
  write("localizedFailureReason", localizedFailureReason_, copyOf(text));
}

Ref<NSString> OVNSErrorBuilder::localizedRecoverySuggestion() const {
  return read(localizedRecoverySuggestion_);
}
void OVNSErrorBuilder::setLocalizedRecoverySuggestion(const Ref<NSString>& text) {
  write("localizedRecoverySuggestion", localizedRecoverySuggestion_, copyOf(text));
}

Ref<NSArray> OVNSErrorBuilder::localizedRecoveryOptions() const {
  return read(localizedRecoveryOptions_);
}
void OVNSErrorBuilder::setLocalizedRecoveryOptions(const Ref<NSArray>& options) {
  write("localizedRecoveryOptions", localizedRecoveryOptions_, copyOf(options));
}

id OVNSErrorBuilder::recoveryAttempter() const { return read(recoveryAttempter_); }
void OVNSErrorBuilder::setRecoveryAttempter(const id& attempter) {
  write("recoveryAttempter", recoveryAttempter_, attempter);
}

Ref<NSError> OVNSErrorBuilder::underlyingError() const { return read(underlyingError_); }
void OVNSErrorBuilder::setUnderlyingError(const Ref<NSError>& error) {
  write("underlyingError", underlyingError_, copyOf(error));
}

Ref<NSString> OVNSErrorBuilder::helpAnchor() const { return read(helpAnchor_); }
void OVNSErrorBuilder::setHelpAnchor(const Ref<NSString>& anchor) {
  write("helpAnchor", helpAnchor_, copyOf(anchor));
}

Ref<NSURL> OVNSErrorBuilder::URL() const { return read(url_); }
void OVNSErrorBuilder::setURL(const Ref<NSURL>& url) { write("URL", url_, copyOf(url)); }

Ref<NSString> OVNSErrorBuilder::filePath() const { return read(filePath_); }
void OVNSErrorBuilder::setFilePath(const Ref<NSString>& path) {
  write("filePath", filePath_, copyOf(path));
}

Ref<NSError> OVMakeError(const Block<void(const Ref<OVNSErrorBuilder>&)>& block) {
  return OVNSErrorBuilder::buildError(block);
}

Ref<NSError> OVMakeErrorWithPOSIXError(std::int32_t err) {
  return NSError::errorWithDomain_code_userInfo(
      NSPOSIXErrorDomain, err,
      NSDictionary::of({{NSLocalizedDescriptionKey, "An error occurred."},
                        {NSLocalizedFailureReasonErrorKey,
                         NSString::stringWithFormat("Error (%d) %s", err, strerror(err))}}));
}

Ref<NSString> OVMakeStandardMacErrorString(const Ref<NSString>& operation, OSStatus status) {
  const Ref<NSString> name = namePartOf(status);
  const Ref<NSString> comment = commentPartOf(status);
  if (!operation) {
    return NSString::stringWithFormat("Error code %li%@.%@", status, name, comment);
  }
  return NSString::stringWithFormat("%@ failed with error code %li%@.%@", operation, status, name,
                                    comment);
}

Ref<NSError> OVWrapErrorWithDescription(const Ref<NSError>& error,
                                        const Ref<NSString>& description) {
  if (!error) {
    return NSError::errorWithDomain_code_userInfo(
        NSBundle::mainBundle()->bundleIdentifier(), 0,
        NSDictionary::of({{NSLocalizedDescriptionKey, description}}));
  }
  Ref<NSString> reason = error->localizedDescription();
  if (const Ref<NSString> oldReason = error->localizedFailureReason()) {
    reason = reason->stringByAppendingFormat(" %@", oldReason);
  }
  const Ref<NSMutableDictionary> entries = NSMutableDictionary::dictionary();
  entries->setObject_forKey(description, NSLocalizedDescriptionKey);
  entries->setObject_forKey(reason, NSLocalizedFailureReasonErrorKey);
  addEntry(entries, error->localizedRecoverySuggestion(), NSLocalizedRecoverySuggestionErrorKey);
  entries->setObject_forKey(error, NSUnderlyingErrorKey);
  return NSError::errorWithDomain_code_userInfo(error->domain(), error->code(), entries);
}

}  // namespace kestova
