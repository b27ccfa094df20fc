// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

Ref<NSString> StringConstant::string() const {
  if (NSString* known = object_.load(std::memory_order_acquire)) {
    return Ref<NSString>(known);
  }
  auto made = NSString::stringWithUTF8String(utf8_);
  require(made != nullptr, "a string constant is well-formed UTF-8");
  NSString* first = nullptr;
  if (!object_.compare_exchange_strong(first, made.get(), std::memory_order_acq_rel,
                                       std::memory_order_acquire)) {
    return Ref<NSString>(first);
  }
  made->retain();
  return made;
}

}  // namespace kestova
