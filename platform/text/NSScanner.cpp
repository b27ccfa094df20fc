// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSScanner.h>

#include "text/CharacterWalk.h"
#include "text/NumberScan.h"
#include "text/TextStorage.h"
#include "values/RangeCheck.h"

#include <algorithm>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(
    NSScanner,
    .property<&NSScanner::string>("string")
        .property<&NSScanner::scanLocation, &NSScanner::setScanLocation>("scanLocation")
        .property<&NSScanner::charactersToBeSkipped, &NSScanner::setCharactersToBeSkipped>(
            "charactersToBeSkipped")
        .property<&NSScanner::caseSensitive, &NSScanner::setCaseSensitive>("caseSensitive")
        .property<&NSScanner::locale, &NSScanner::setLocale>("locale"))

namespace {

std::u16string decimalSeparatorOf(const Ref<NSLocale>& locale) {
  const auto own =
      locale ? cast<NSString>(locale->objectForKey(NSLocaleDecimalSeparator)) : nullptr;
  return own ? own->utf16() : u".";
}

}  // namespace

NSScanner::NSScanner(Ref<NSString> string)
    : string_(std::move(string)),
      skipped_(NSCharacterSet::whitespaceAndNewlineCharacterSet()),
      decimalSeparator_(decimalSeparatorOf(nullptr)) {}

Ref<NSScanner> NSScanner::scannerWithString(const Ref<NSString>& string) {
  if (!string) {
    throw NSException(NSInvalidArgumentException, "The text to be scanned is missing.");
  }
  return make<NSScanner>(copyOf(string));
}

Ref<NSScanner> NSScanner::localizedScannerWithString(const Ref<NSString>& string) {
  auto scanner = scannerWithString(string);
  scanner->setLocale(NSLocale::currentLocale());
  return scanner;
}

void NSScanner::setScanLocation(NSUInteger location) {
  checkRange(*this, "setScanLocation:", {location, 0}, string_->length());
  location_ = location;
}

void NSScanner::setCharactersToBeSkipped(const Ref<NSCharacterSet>& set) { skipped_ = copyOf(set); }

void NSScanner::setLocale(const Ref<NSLocale>& locale) {
  locale_ = locale;
  decimalSeparator_ = decimalSeparatorOf(locale);
}

/// Where the next operation tries to read: behind the characters to be skipped.
NSUInteger NSScanner::startOfNext() const {
  return !skipped_ ? location_ : withUnits(*string_, [&](auto units) {
    return skipMembers(units, location_, *skipped_);
  });
}

/// Reads with a function that takes the units and where to begin.
template <class Value, class Read>
bool NSScanner::scanNumber(Value* value, const Read& read) {
  const NSUInteger start = startOfNext();
  const auto number = withUnits(*string_, [&](auto units) { return read(units, start); });
  if (!number) {
    return false;
  }
  location_ = number->end;
  if (value != nullptr) {
    *value = number->value;
  }
  return true;
}

bool NSScanner::scanInt(int* value) {
  return scanNumber(value,
                    [](auto units, auto start) { return kestova::scanInteger<int>(units, start); });
}

bool NSScanner::scanInteger(NSInteger* value) {
  return scanNumber(
      value, [](auto units, auto start) { return kestova::scanInteger<NSInteger>(units, start); });
}

bool NSScanner::scanLongLong(long long* value) {
  return scanNumber(
      value, [](auto units, auto start) { return kestova::scanInteger<long long>(units, start); });
}

bool NSScanner::scanUnsignedLongLong(unsigned long long* value) {
  return scanNumber(value, [](auto units, auto start) {
    return kestova::scanInteger<unsigned long long>(units, start);
  });
}

bool NSScanner::scanHexInt(unsigned* value) {
  return scanNumber(value,
                    [](auto units, auto start) { return scanHexInteger<unsigned>(units, start); });
}

bool NSScanner::scanHexLongLong(unsigned long long* value) {
  return scanNumber(value, [](auto units, auto start) {
    return scanHexInteger<unsigned long long>(units, start);
  });
}

bool NSScanner::scanFloat(float* value) {
  return scanNumber(value, [&](auto units, auto start) {
    return scanReal<float>(units, start, decimalSeparator_);
  });
}

bool NSScanner::scanDouble(double* value) {
  return scanNumber(value, [&](auto units, auto start) {
    return scanReal<double>(units, start, decimalSeparator_);
  });
}

bool NSScanner::scanHexFloat(float* value) {
  return scanNumber(value, [&](auto units, auto start) {
    return scanHexReal<float>(units, start, decimalSeparator_);
  });
}

bool NSScanner::scanHexDouble(double* value) {
  return scanNumber(value, [&](auto units, auto start) {
    return scanHexReal<double>(units, start, decimalSeparator_);
  });
}

/// Takes what lies between two places; fails when that is nothing.
bool NSScanner::takeText(NSUInteger start, NSUInteger end, Ref<NSString>* value) {
  if (start == end) {
    return false;
  }
  location_ = end;
  if (value != nullptr) {
    *value = string_->substringWithRange({start, end - start});
  }
  return true;
}

NSRange NSScanner::find(const Ref<NSString>& string, NSUInteger start, NSUInteger options) const {
  return string_->rangeOfString_options_range(
      string, options | (isCaseSensitive_ ? 0 : NSUInteger{NSCaseInsensitiveSearch}),
      {start, string_->length() - start});
}

bool NSScanner::scanString_intoString(const Ref<NSString>& string, Ref<NSString>* value) {
  checkArgument(*this, "scanString:intoString:", string != nullptr);
  const NSRange found = find(string, startOfNext(), NSAnchoredSearch);
  return found.location != NSNotFound && takeText(found.location, NSMaxRange(found), value);
}

bool NSScanner::scanUpToString_intoString(const Ref<NSString>& string, Ref<NSString>* value) {
  checkArgument(*this, "scanUpToString:intoString:", string != nullptr);
  const NSUInteger start = startOfNext();
  return takeText(start, std::min(find(string, start, 0).location, string_->length()), value);
}

bool NSScanner::scanCharactersFromSet_intoString(const Ref<NSCharacterSet>& set,
                                                 Ref<NSString>* value) {
  checkArgument(*this, "scanCharactersFromSet:intoString:", set != nullptr);
  const NSUInteger start = startOfNext();
  const NSUInteger end =
      withUnits(*string_, [&](auto units) { return skipMembers(units, start, *set); });
  return takeText(start, end, value);
}

bool NSScanner::scanUpToCharactersFromSet_intoString(const Ref<NSCharacterSet>& set,
                                                     Ref<NSString>* value) {
  checkArgument(*this, "scanUpToCharactersFromSet:intoString:", set != nullptr);
  const NSUInteger start = startOfNext();
  const NSUInteger end =
      withUnits(*string_, [&](auto units) { return findMember(units, start, *set); });
  return takeText(start, end, value);
}

bool NSScanner::isAtEnd() const { return startOfNext() == string_->length(); }

}  // namespace kestova
