// SPDX-License-Identifier: Apache-2.0
#include "loading/HTTPFields.h"

#include <KestovaPlatform/ASCIICase.h>

#include <algorithm>

namespace kestova {
namespace {

constexpr std::string_view kBlanks = " \t";

bool isLetterOrDigit(char c) {
  return (c >= '0' && c <= '9') || (lowercaseASCII(c) >= 'a' && lowercaseASCII(c) <= 'z');
}

Ref<NSString> textOf(const std::string& bytes) {
  const auto text = NSString::stringWithUTF8String(bytes);
  return text ? text
              : NSString::initWithBytes_length_encoding(bytes.data(), bytes.size(),
                                                        NSISOLatin1StringEncoding);
}

}  // namespace

bool FieldNameOrder::operator()(std::string_view a, std::string_view b) const {
  const auto lowercase = [](char c) { return lowercaseASCII(c); };
  return std::ranges::lexicographical_compare(a, b, {}, lowercase, lowercase);
}

bool isHTTPToken(std::string_view text) {
  constexpr std::string_view kSigns = "!#$%&'*+-.^_`|~";
  return !text.empty() && std::ranges::all_of(text, [&](char c) {
    return isLetterOrDigit(c) || kSigns.find(c) != kSigns.npos;
  });
}

bool isHTTPFieldValue(std::string_view text) {
  return std::ranges::all_of(text, [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte == '\t' || (byte >= 0x20 && byte != 0x7F);
  });
}

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(kBlanks);
  return first == text.npos ? std::string_view()
                            : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

Ref<NSString> fieldNamed(const Ref<NSString>& name, const Ref<NSDictionary>& fields) {
  if (!name) {
    return nullptr;
  }
  const std::string wanted = name->displayUTF8();
  for (const id& key : fields) {
    const auto spelled = cast<NSString>(key);
    if (spelled && isSameButForCase(spelled->displayUTF8(), wanted)) {
      return cast<NSString>(fields->objectForKey(key));
    }
  }
  return nullptr;
}

Ref<NSDictionary> dictionaryOf(const HTTPFields& fields) {
  const auto dictionary = NSMutableDictionary::dictionaryWithCapacity(fields.size());
  for (const auto& [name, value] : fields) {
    dictionary->setObject_forKey(textOf(value), textOf(name));
  }
  return NSDictionary::dictionaryWithDictionary(dictionary);
}

}  // namespace kestova
