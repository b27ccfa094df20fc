// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSNotification.h>

#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSNotification, .property<&NSNotification::name>("name")
                                         .property<&NSNotification::object>("object")
                                         .property<&NSNotification::userInfo>("userInfo"))

NSNotification::NSNotification(const Ref<NSString>& name, id object,
                               const Ref<NSDictionary>& userInfo)
    : name_(copyOf(name)), object_(std::move(object)), userInfo_(copyOf(userInfo)) {}

Ref<NSNotification> NSNotification::notificationWithName_object(const Ref<NSString>& name,
                                                                const id& object) {
  return make<NSNotification>(name, object, nullptr);
}

Ref<NSNotification> NSNotification::notificationWithName_object_userInfo(
    const Ref<NSString>& name, const id& object, const Ref<NSDictionary>& userInfo) {
  return make<NSNotification>(name, object, userInfo);
}

bool NSNotification::isEqual(const id& other) const {
  const auto notification = cast<NSNotification>(other);
  return notification && notification->object_ == object_ &&
         isEqualOrBothNull(notification->name_, name_) &&
         isEqualOrBothNull(notification->userInfo_, userInfo_);
}

NSUInteger NSNotification::hash() const { return name_ ? name_->hash() : 0; }

Ref<NSString> NSNotification::description() const {
  const auto text = NSMutableString::stringWithString("NSNotification {");
  const char* separator = "";
  const auto add = [&](const char* label, const id& value) {
    if (value) {
      text->appendString(NSString::stringWithFormat("%s%s = %@", separator, label, value));
      separator = "; ";
    }
  };
  add("name", name_);
  add("object", object_);
  add("userInfo", userInfo_);
  text->appendString("}");
  return copyOf(Ref<NSString>(text));
}

}  // namespace kestova
