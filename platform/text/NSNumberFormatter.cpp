// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSNumberFormatter.h>

#include "text/NumberPattern.h"
#include "values/RangeCheck.h"

namespace kestova {

KESTOVA_DEFINE_CLASS(
    NSNumberFormatter,
    .property<&NSNumberFormatter::format, &NSNumberFormatter::setFormat>("format")
        .property<&NSNumberFormatter::locale, &NSNumberFormatter::setLocale>("locale"))

namespace {

const StringConstant kDefaultFormat(NumberPattern::kDefault);

}  // namespace

NSNumberFormatter::NSNumberFormatter()
    : format_(kDefaultFormat), locale_(NSLocale::currentLocale()) {}

Ref<NSNumberFormatter> NSNumberFormatter::init() { return make<NSNumberFormatter>(); }

void NSNumberFormatter::setFormat(const Ref<NSString>& format) {
  checkArgument(*this, "setFormat:", format != nullptr);
  const KeyValueChange change(*this, "format");
  format_ = copyOf(format);
  pattern_ = nullptr;
}

void NSNumberFormatter::setLocale(const Ref<NSLocale>& locale) {
  const KeyValueChange change(*this, "locale");
  locale_ = locale ? locale : NSLocale::currentLocale();
  pattern_ = nullptr;
}

const NumberPattern& NSNumberFormatter::pattern() const {
  if (!pattern_) {
    pattern_ = NumberPattern::of(*locale_, format_);
  }
  return *pattern_;
}

Ref<NSString> NSNumberFormatter::stringFromNumber(const Ref<NSNumber>& number) const {
  return number ? pattern().text(*number) : nullptr;
}

Ref<NSNumber> NSNumberFormatter::numberFromString(const Ref<NSString>& string) const {
  return string ? pattern().number(*string) : nullptr;
}

Ref<NSString> NSNumberFormatter::stringForObjectValue(const id& object) const {
  return stringFromNumber(cast<NSNumber>(object));
}

bool NSNumberFormatter::getObjectValue_forString_errorDescription(
    id* object, const Ref<NSString>& string, Ref<NSString>* errorDescription) const {
  const auto number = numberFromString(string);
  if (!number && errorDescription != nullptr) {
    *errorDescription = NSString::stringWithFormat("\u201c%@\u201d is not a number.", string);
  }
  if (number && object != nullptr) {
    *object = number;
  }
  return number != nullptr;
}

}  // namespace kestova
