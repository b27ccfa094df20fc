// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSObject.h>

namespace kestova {

/// The object that stands for nothing inside collections, which can't hold null. There is one.
class KESTOVA_PLATFORM_EXPORT NSNull : public NSObject {
  KESTOVA_CLASS(NSNull, NSObject)

 public:
  /// The same object every time.
  static Ref<NSNull> null();
  static Ref<NSNull> init() { return null(); }

  /// This object itself, whatever the key: a path through collections goes on over what they lack.
  id valueForKey(const Ref<NSString>& key) const override;

  /// "<null>".
  Ref<NSString> description() const override;

  /// This object itself.
  id copy() const override;

 private:
  NSNull() = default;
};

}  // namespace kestova
