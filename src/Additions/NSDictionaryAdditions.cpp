// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSDictionaryAdditions.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>

namespace kestova {
namespace {

/// What `read` makes of the number or the text under a key; the type's zero when there is none.
/// `operation` names it for the failure.
template <class Value, class Read>
Value valueForKey(const Ref<NSDictionary>& dictionary, const id& key, const char* operation,
                  const Read& read) {
  const id object = dictionary->objectForKey(key);
  if (!object) {
    return Value();
  }
  if (const auto number = cast<NSNumber>(object)) {
    return read(*number);
  }
  if constexpr (std::is_invocable_v<Read, const NSString&>) {
    if (const auto text = cast<NSString>(object)) {
      return read(*text);
    }
  }
  throwUnrecognizedSelector(*object, operation);
}

/// The text under a key; null when there is none.
Ref<NSString> textForKey(const Ref<NSDictionary>& dictionary, const id& key) {
  const id object = dictionary->objectForKey(key);
  const auto text = cast<NSString>(object);
  if (object && !text) {
    throwUnrecognizedSelector(*object, "length");
  }
  return text;
}

}  // namespace

inline namespace NSDictionary_Additions {

bool boolForKey(const Ref<NSDictionary>& self, const id& key) {
  return valueForKey<bool>(self, key, "boolValue",
                           [](const auto& value) { return value.boolValue(); });
}

NSInteger integerForKey(const Ref<NSDictionary>& self, const id& key) {
  return valueForKey<NSInteger>(self, key, "integerValue",
                                [](const auto& value) { return value.integerValue(); });
}

NSUInteger unsignedIntegerForKey(const Ref<NSDictionary>& self, const id& key) {
  return valueForKey<NSUInteger>(self, key, "unsignedIntegerValue", [](const NSNumber& value) {
    return value.unsignedIntegerValue();
  });
}

double doubleForKey(const Ref<NSDictionary>& self, const id& key) {
  return valueForKey<double>(self, key, "doubleValue",
                             [](const auto& value) { return value.doubleValue(); });
}

float floatForKey(const Ref<NSDictionary>& self, const id& key) {
  return valueForKey<float>(self, key, "floatValue",
                            [](const auto& value) { return value.floatValue(); });
}

NSRect rectForKey(const Ref<NSDictionary>& self, const id& key) {
  return NSRectFromString(textForKey(self, key));
}

NSPoint pointForKey(const Ref<NSDictionary>& self, const id& key) {
  return NSPointFromString(textForKey(self, key));
}

NSSize sizeForKey(const Ref<NSDictionary>& self, const id& key) {
  return NSSizeFromString(textForKey(self, key));
}

Ref<NSDictionary> ov_dictionaryBySettingObject_forKey(const Ref<NSDictionary>& self,
                                                      const id& object, const id& key) {
  const auto copy = NSMutableDictionary::dictionaryWithDictionary(self);
  copy->setObject_forKey(object, key);
  return cast<NSDictionary>(copy->copy());
}

Ref<NSDictionary> ov_dictionaryByRemovingObjectForKey(const Ref<NSDictionary>& self,
                                                      const id& key) {
  const auto copy = NSMutableDictionary::dictionaryWithDictionary(self);
  copy->removeObjectForKey(key);
  return cast<NSDictionary>(copy->copy());
}

bool writeToURL_options_error(const Ref<NSDictionary>& self, const Ref<NSURL>& url,
                              NSUInteger options, Ref<NSError>* error) {
  Ref<NSString> description;
  const auto contents = NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(
      self, NSPropertyListBinaryFormat_v1_0, &description);
  if (!contents) {
    if (error != nullptr) {
      *error = NSError::errorWithDomain_code_userInfo(
          NSCocoaErrorDomain, 0,
          NSDictionary::of({{NSLocalizedFailureReasonErrorKey, description}}));
    }
    return false;
  }
  return contents->writeToURL_options_error(url, options, error);
}

}  // namespace NSDictionary_Additions

}  // namespace kestova
