// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// Something that has happened, as NSNotificationCenter tells it: a name, the object that it
/// happened to, and whatever else belongs to it.
///
/// Threads: immutable, so any number of threads may share one.
///
/// Ownership: holds all three. Each of them may be null.
class KESTOVA_PLATFORM_EXPORT NSNotification : public NSObject {
  KESTOVA_CLASS(NSNotification, NSObject)

 public:
  static Ref<NSNotification> notificationWithName_object(const Ref<NSString>& name,
                                                         const id& object);
  static Ref<NSNotification> notificationWithName_object_userInfo(
      const Ref<NSString>& name, const id& object, const Ref<NSDictionary>& userInfo);

  const Ref<NSString>& name() const noexcept { return name_; }
  const id& object() const noexcept { return object_; }
  const Ref<NSDictionary>& userInfo() const noexcept { return userInfo_; }

  /// Whether both have equal names and user infos, and the very same object.
  bool isEqual(const id& other) const override;
  NSUInteger hash() const override;

  /// "NSNotification {name = didSave; object = …; userInfo = …}", without what is null.
  Ref<NSString> description() const override;

  /// This notification itself.
  id copy() const override { return self(); }

 protected:
  NSNotification(const Ref<NSString>& name, id object, const Ref<NSDictionary>& userInfo);

 private:
  const Ref<NSString> name_;
  const id object_;
  const Ref<NSDictionary> userInfo_;
};

}  // namespace kestova
