// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSString.h>

#include <map>
#include <string>
#include <string_view>

namespace kestova {

/// Names of header fields are the same in capitals and small letters.
struct FieldNameOrder {
  bool operator()(std::string_view a, std::string_view b) const;
};

/// Header fields, each with the name that it was first given by.
using HTTPFields = std::map<std::string, std::string, FieldNameOrder>;

/// Whether a text can be a method or a field's name (RFC 9110, section 5.6.2).
bool isHTTPToken(std::string_view text);

/// Whether a text can be a field's value: nothing in it ends the line.
bool isHTTPFieldValue(std::string_view text);

/// The text without blanks and tabulators at its ends.
std::string_view trimmed(std::string_view text);

/// The value of a field in a dictionary of texts; null when there is none.
Ref<NSString> fieldNamed(const Ref<NSString>& name, const Ref<NSDictionary>& fields);

/// The same fields as a dictionary; values that are no UTF-8 are read as Latin-1.
Ref<NSDictionary> dictionaryOf(const HTTPFields& fields);

}  // namespace kestova
