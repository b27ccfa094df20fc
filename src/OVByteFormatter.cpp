// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVByteFormatter.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSNumberFormatter.h>
#include <KestovaPlatform/NSScanner.h>

#include <array>
#include <cstdint>

namespace kestova {

KESTOVA_DEFINE_CLASS(
    OVByteFormatter,
    .property<&OVByteFormatter::numberFormat, &OVByteFormatter::setNumberFormat>("numberFormat"))

namespace {

const StringConstant kDefaultFormat("###0.#");
const StringConstant kCannotConvert("Couldn't convert to bytes");

constexpr std::uint64_t kMostBytesAsBytes = 1024;

const StringConstant kBytes(" Bytes");
const StringConstant kKilobytes(" KB");
const StringConstant kMegabytes(" MB");
const StringConstant kGigabytes(" GB");

struct Amount {
  double number;
  const StringConstant& suffix;
};

std::uint64_t countIn(const id& object) {
  if (const auto* number = dynamic_cast<const NSNumber*>(object.get())) {
    return number->unsignedLongLongValue();
  }
  const auto* string = dynamic_cast<const NSString*>(object.get());
  return string == nullptr ? 0 : static_cast<std::uint64_t>(std::int64_t{string->intValue()});
}

Amount amountOf(std::uint64_t count) {
  auto number = static_cast<double>(count);
  if (count <= kMostBytesAsBytes) {
    return {number, kBytes};
  }
  for (const StringConstant* suffix : {&kKilobytes, &kMegabytes}) {
    number /= 1024;
    if (number <= 1024) {
      return {number, *suffix};
    }
  }
  return {number / 1024, kGigabytes};
}

/// The bytes of the unit that comes next in the text.
double factorIn(const Ref<NSScanner>& scanner) {
  struct Unit {
    const char* label;
    double bytes;
  };
  constexpr std::array<Unit, 5> kUnits = {
      {{"Bytes", 1}, {"B", 1}, {"KB", 0x1p10}, {"MB", 0x1p20}, {"GB", 0x1p30}}};
  constexpr double kWithoutUnit = 0x1p20;
  for (const Unit& unit : kUnits) {
    if (scanner->scanString_intoString(unit.label)) {
      return unit.bytes;
    }
  }
  return kWithoutUnit;
}

Ref<NSNumberFormatter> formatterFor(const Ref<NSString>& format) {
  auto formatter = NSNumberFormatter::init();
  formatter->setFormat(format ? format : Ref<NSString>(kDefaultFormat));
  return formatter;
}

}  // namespace

OVByteFormatter::OVByteFormatter() : formatter_(formatterFor(nullptr)) {}

Ref<OVByteFormatter> OVByteFormatter::init() { return make<OVByteFormatter>(); }

void OVByteFormatter::setNumberFormat(const Ref<NSString>& format) {
  const KeyValueChange change(*this, "numberFormat");
  mNumberFormat = copyOf(format);
  formatter_ = formatterFor(mNumberFormat);
}

Ref<NSString> OVByteFormatter::stringForObjectValue(const id& object) const {
  const Amount amount = amountOf(countIn(object));
  return formatter_->stringFromNumber(amount.number)->stringByAppendingString(amount.suffix);
}

id OVByteFormatter::attributedStringForObjectValue_withDefaultAttributes(
    const id& /*object*/, const Ref<NSDictionary>& /*attributes*/) const {
  return nullptr;
}

bool OVByteFormatter::getObjectValue_forString_errorDescription(
    id* object, const Ref<NSString>& string, Ref<NSString>* errorDescription) const {
  const auto scanner = NSScanner::scannerWithString(string ? string : NSString::string());
  double number = 0;
  if (!scanner->scanDouble(&number)) {
    if (errorDescription != nullptr) {
      *errorDescription =
          NSBundle::mainBundle()->localizedStringForKey_value_table(kCannotConvert, "", nullptr);
    }
    return false;
  }
  const Ref<NSNumber> bytes = number * factorIn(scanner);
  if (object != nullptr) {
    *object = bytes->unsignedLongLongValue();
  }
  return true;
}

}  // namespace kestova
