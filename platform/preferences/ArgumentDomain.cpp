// SPDX-License-Identifier: Apache-2.0
#include "preferences/ArgumentDomain.h"

#include <KestovaPlatform/NSData.h>

#include "files/WholeFile.h"

#include <cctype>
#include <cstddef>
#include <string_view>

namespace kestova {
namespace {

bool isKey(std::string_view argument) {
  return argument.size() > 1 && argument[0] == '-' && argument[1] != '-';
}

bool isNumber(std::string_view argument) {
  return argument.size() > 1 &&
         (std::isdigit(static_cast<unsigned char>(argument[1])) != 0 || argument[1] == '.');
}

bool isValue(std::string_view argument) { return !argument.starts_with('-') || isNumber(argument); }

}  // namespace

std::vector<std::string> programArguments() {
  const auto line = NSMutableData::data();
  readWholeFile("/proc/self/cmdline", *line);
  std::string_view rest(reinterpret_cast<const char*>(line->span().data()), line->length());
  std::vector<std::string> arguments;
  while (!rest.empty()) {
    arguments.emplace_back(rest.substr(0, rest.find('\0')));
    rest.remove_prefix(std::min(rest.size(), arguments.back().size() + 1));
  }
  if (!arguments.empty()) {
    arguments.erase(arguments.begin());
  }
  return arguments;
}

Ref<NSDictionary> argumentDomain(const std::vector<std::string>& arguments) {
  const auto domain = NSMutableDictionary::dictionary();
  for (std::size_t at = 0; at + 1 < arguments.size() && arguments[at] != "--"; ++at) {
    if (!isKey(arguments[at]) || !isValue(arguments[at + 1])) {
      continue;
    }
    const auto key = NSString::stringWithUTF8String(arguments[at].substr(1));
    const auto value = NSString::stringWithUTF8String(arguments[++at]);
    if (key && value) {
      domain->setObject_forKey(value, key);
    }
  }
  return cast<NSDictionary>(domain->copy());
}

}  // namespace kestova
