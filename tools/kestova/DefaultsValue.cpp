// SPDX-License-Identifier: Apache-2.0
#include "DefaultsValue.h"

#include "ArgumentValue.h"
#include "TransferText.h"

#include <KestovaFoundation/Additions/NSDataAdditions.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNumber.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <map>

namespace kestova::tool {
namespace {

constexpr const char* kDateFormat = "%Y-%m-%dT%H:%M:%SZ";

[[noreturn]] void refuse(const std::string& word, const char* reason) {
  throw CLI::ValidationError(word, reason);
}

std::string textOfDate(const NSDate& date) {
  const auto seconds = static_cast<std::time_t>(std::floor(date.timeIntervalSince1970()));
  std::tm parts{};
  std::array<char, 64> text{};
  if (::gmtime_r(&seconds, &parts) == nullptr) {
    return date.description()->displayUTF8();
  }
  std::strftime(text.data(), text.size(), kDateFormat, &parts);
  return text.data();
}

id dateIn(const std::string& word) {
  std::tm parts{};
  const char* end = ::strptime(word.c_str(), kDateFormat, &parts);
  if (end == nullptr || *end != '\0') {
    refuse(word, "not a date such as 2001-01-31T12:00:00Z");
  }
  return NSDate::dateWithTimeIntervalSince1970(static_cast<double>(::timegm(&parts)));
}

id dataIn(const std::string& word) {
  const bool isHex =
      word.size() % 2 == 0 && word.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
  if (!isHex) {
    refuse(word, "not pairs of hexadecimal digits");
  }
  return word.empty() ? NSData::data() : NSData_HexAdditions::dataFromHexString(textIn(word));
}

id integerIn(const std::string& word) {
  const auto number = numberIn<std::int64_t>(word);
  if (!number) {
    refuse(word, "not an integer of 64 bits");
  }
  return *number;
}

id realIn(const std::string& word) {
  const auto number = numberIn<double>(word);
  if (!number) {
    refuse(word, "not a number");
  }
  return *number;
}

id truthIn(const std::string& word) {
  const std::map<std::string, bool> words = {{"true", true},   {"yes", true}, {"1", true},
                                             {"false", false}, {"no", false}, {"0", false}};
  const auto found = words.find(word);
  if (found == words.end()) {
    refuse(word, "not true, yes, 1, false, no or 0");
  }
  return found->second;
}

id arrayOf(std::span<const std::string> words) {
  const auto array = NSMutableArray::array();
  for (const std::string& word : words) {
    array->addObject(textIn(word));
  }
  return array;
}

id dictionaryOf(std::span<const std::string> words) {
  if (words.size() % 2 != 0) {
    refuse(words.back(), "a key without a value");
  }
  const auto dictionary = NSMutableDictionary::dictionary();
  for (std::size_t at = 0; at < words.size(); at += 2) {
    dictionary->setObject_forKey(textIn(words[at + 1]), textIn(words[at]));
  }
  return dictionary;
}

id stringIn(const std::string& word) { return textIn(word); }

using ValueReader = id (*)(const std::string& word);

/// Null for what is no such option.
ValueReader readerFor(const std::string& option) {
  const std::map<std::string, ValueReader> readers = {{"-string", stringIn}, {"-int", integerIn},
                                                      {"-float", realIn},    {"-bool", truthIn},
                                                      {"-date", dateIn},     {"-data", dataIn}};
  const auto found = readers.find(option);
  return found == readers.end() ? nullptr : found->second;
}

}  // namespace

std::string textOfValue(const id& value) {
  if (const auto number = cast<NSNumber>(value);
      number && std::holds_alternative<bool>(number->value())) {
    return number->boolValue() ? "true" : "false";
  }
  if (const auto date = cast<NSDate>(value)) {
    return textOfDate(*date);
  }
  if (const auto data = cast<NSData>(value)) {
    return hexString(data)->displayUTF8();
  }
  return value->description()->displayUTF8();
}

std::string lineOfValue(const id& value) {
  if (!value) {
    return "(none)";
  }
  std::string text = textOfValue(value);
  std::replace(text.begin(), text.end(), '\n', ' ');
  const bool isClear = !text.empty() && text.find_first_of(" \"()") == std::string::npos;
  return cast<NSString>(value) && !isClear ? "\"" + displayText(text) + "\"" : displayText(text);
}

id valueOfWords(std::span<const std::string> words) {
  const std::string& option = words.front();
  const auto values = words.subspan(1);
  if (option == "-array") {
    return arrayOf(values);
  }
  if (option == "-dict") {
    return dictionaryOf(values);
  }
  const auto reader = readerFor(option);
  if (reader == nullptr && values.empty()) {
    return stringIn(option);
  }
  if (reader == nullptr) {
    refuse(option, "not the type of a value");
  }
  if (values.size() != 1) {
    refuse(option, "takes one value");
  }
  return reader(values[0]);
}

}  // namespace kestova::tool
