// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSErrorAdditions.h>

namespace kestova {

inline namespace NSError_KestovaAdditions {

Ref<NSError> errorByAppendingUserInfo(const Ref<NSError>& self, const Ref<NSDictionary>& userInfo) {
  const Ref<NSMutableDictionary> entries = NSMutableDictionary::dictionary();
  entries->addEntriesFromDictionary(self->userInfo());
  if (userInfo) {
    entries->addEntriesFromDictionary(userInfo);
  }
  return NSError::errorWithDomain_code_userInfo(self->domain(), self->code(), entries);
}

/// Asks the user info and not `localizedDescription`, which makes a text where there is none.
Ref<NSString> localizedDescriptionFailureReasonAndSuggestion(const Ref<NSError>& self) {
  const Ref<NSMutableString> texts = NSMutableString::string();
  for (const StringConstant* key : {&NSLocalizedDescriptionKey, &NSLocalizedFailureReasonErrorKey,
                                    &NSLocalizedRecoverySuggestionErrorKey}) {
    if (const auto text = cast<NSString>(self->userInfo()->objectForKey(*key))) {
      texts->appendString(texts->length() == 0 ? "" : " ");
      texts->appendString(text);
    }
  }
  return copyOf<NSString>(texts);
}

}  // namespace NSError_KestovaAdditions

}  // namespace kestova
