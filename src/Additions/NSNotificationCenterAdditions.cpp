// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSNotificationCenterAdditions.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSThread.h>

#include <initializer_list>
#include <utility>

namespace kestova {
namespace {

/// The values under their keys, up to the first that is null.
Ref<NSDictionary> argumentsUpToNull(
    std::initializer_list<std::pair<id, const char*>> valuesAndKeys) {
  const auto arguments = NSMutableDictionary::dictionary();
  for (const auto& [value, key] : valuesAndKeys) {
    if (!value) {
      break;
    }
    arguments->setObject_forKey(value, key);
  }
  return arguments;
}

}  // namespace

inline namespace NSNotificationCenter_KestovaAdditions {

void postNotificationOnMainThreadName_object_userInfo(const Ref<NSNotificationCenter>& self,
                                                      const Ref<NSString>& name, const id& object,
                                                      const Ref<NSDictionary>& userInfo) {
  require(self != nullptr, "self != nil");
  const auto arguments =
      argumentsUpToNull({{name, "name"}, {object, "object"}, {userInfo, "userInfo"}});
  performBlockOnMainThread(
      [self, arguments] {
        _threadedPostNotificationOnMainThreadName_object_userInfo(self, arguments);
      },
      true);
}

void _threadedPostNotificationOnMainThreadName_object_userInfo(
    const Ref<NSNotificationCenter>& self, const Ref<NSDictionary>& arguments) {
  require(self != nullptr && arguments != nullptr, "self != nil && arguments != nil");
  self->postNotificationName_object_userInfo(
      cast<NSString>(arguments->objectForKey("name")), arguments->objectForKey("object"),
      cast<NSDictionary>(arguments->objectForKey("userInfo")));
}

}  // namespace NSNotificationCenter_KestovaAdditions

}  // namespace kestova
