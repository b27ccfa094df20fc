// SPDX-License-Identifier: Apache-2.0
#include "text/TextStorage.h"

#include <KestovaPlatform/UTF8.h>

namespace kestova {
namespace {

std::u16string& widened(TextStorage& storage) {
  if (const auto* bytes = std::get_if<std::string>(&storage)) {
    storage = std::u16string(bytes->begin(), bytes->end());
  }
  return std::get<std::u16string>(storage);
}

NSUInteger sizeOf(const TextStorage& storage) {
  return std::visit([](const auto& units) { return units.size(); }, storage);
}

}  // namespace

Ref<NSString> stringOf(std::string_view ascii) { return NSString::stringWithUTF8String(ascii); }

Ref<NSString> stringOf(std::u16string_view units) {
  return NSString::stringWithCharacters_length(units.data(), units.size());
}

TextStorage storageOf(const NSString& string) {
  return withUnits(string, [](auto units) { return TextStorage(std::basic_string(units)); });
}

void replaceUnits(TextStorage& storage, NSRange range, std::string_view ascii) {
  if (auto* bytes = std::get_if<std::string>(&storage)) {
    bytes->replace(range.location, range.length, ascii);
  } else {
    replaceUnits(storage, range, std::u16string(ascii.begin(), ascii.end()));
  }
}

void replaceUnits(TextStorage& storage, NSRange range, std::u16string_view units) {
  if (std::holds_alternative<std::string>(storage) && isASCII(units)) {
    replaceUnits(storage, range, std::string(units.begin(), units.end()));
  } else {
    widened(storage).replace(range.location, range.length, units);
  }
}

void appendUnits(TextStorage& storage, std::string_view ascii) {
  replaceUnits(storage, {sizeOf(storage), 0}, ascii);
}

void appendUnits(TextStorage& storage, std::u16string_view units) {
  replaceUnits(storage, {sizeOf(storage), 0}, units);
}

}  // namespace kestova
