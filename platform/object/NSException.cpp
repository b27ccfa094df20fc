// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>

#include <utility>

namespace kestova {

constinit const StringConstant NSGenericException{"NSGenericException"};
constinit const StringConstant NSRangeException{"NSRangeException"};
constinit const StringConstant NSInvalidArgumentException{"NSInvalidArgumentException"};
constinit const StringConstant NSInternalInconsistencyException{"NSInternalInconsistencyException"};
constinit const StringConstant NSUndefinedKeyException{"NSUnknownKeyException"};

NSException::NSException(Ref<NSString> name, Ref<NSString> reason, Ref<NSDictionary> userInfo)
    : name_(std::move(name)), reason_(std::move(reason)), userInfo_(std::move(userInfo)) {
  what_ = name_ ? name_->displayUTF8() : "";
  if (reason_) {
    what_ += ": " + reason_->displayUTF8();
  }
}

void throwUnrecognizedSelector(const NSObject& object, const char* operation) {
  throw NSException(NSInvalidArgumentException,
                    NSString::stringWithFormat("-[%@ %s]: %p has no such operation",
                                               NSStringFromClass(object.classDescriptor()),
                                               operation, static_cast<const void*>(&object)));
}

}  // namespace kestova
