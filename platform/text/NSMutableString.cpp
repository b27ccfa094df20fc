// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSString.h>

#include "text/TextStorage.h"
#include "values/RangeCheck.h"

namespace kestova {

KESTOVA_DEFINE_CLASS(NSMutableString)

Ref<NSMutableString> NSMutableString::string() { return make<NSMutableString>(std::string()); }

Ref<NSMutableString> NSMutableString::stringWithString(const Ref<NSString>& string) {
  if (!string) {
    return nullptr;
  }
  auto result = NSMutableString::string();
  result->setString(string);
  return result;
}

void NSMutableString::appendString(const Ref<NSString>& string) {
  replaceCharactersInRange_withString({length(), 0}, string);
}

void NSMutableString::replaceCharactersInRange_withString(NSRange range,
                                                          const Ref<NSString>& string) {
  checkArgument(*this, "replaceCharactersInRange:withString:", string != nullptr);
  checkRange(*this, "replaceCharactersInRange:withString:", range, length());
  withUnits(*string, [&](auto units) { replaceUnits(storage_, range, units); });
}

void NSMutableString::insertString_atIndex(const Ref<NSString>& string, NSUInteger index) {
  replaceCharactersInRange_withString({index, 0}, string);
}

void NSMutableString::deleteCharactersInRange(NSRange range) {
  replaceCharactersInRange_withString(range, NSString::string());
}

void NSMutableString::setString(const Ref<NSString>& string) {
  replaceCharactersInRange_withString({0, length()}, string);
}

id NSMutableString::copy() const {
  return withUnits(*this, [](auto units) { return stringOf(units); });
}

}  // namespace kestova
