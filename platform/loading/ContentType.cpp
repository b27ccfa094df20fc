// SPDX-License-Identifier: Apache-2.0
#include "loading/ContentType.h"

#include <KestovaPlatform/ASCIICase.h>

#include "loading/HTTPFields.h"

#include <algorithm>

namespace kestova {
namespace {

/// Takes what stands before a separator off the front of a text, with the separator.
std::string_view takeUpTo(char separator, std::string_view& text) {
  const auto end = std::min(text.find(separator), text.size());
  const auto taken = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return taken;
}

/// Takes a quoted text off the front, where the opening quote is gone already.
std::string takeQuoted(std::string_view& text) {
  std::string value;
  while (!text.empty() && text.front() != '"') {
    if (text.front() == '\\' && text.size() > 1) {
      text.remove_prefix(1);
    }
    value.push_back(text.front());
    text.remove_prefix(1);
  }
  takeUpTo(';', text);
  return value;
}

std::string takeValue(std::string_view& text) {
  const auto first = text.find_first_not_of(" \t");
  if (first != text.npos && text[first] == '"') {
    text.remove_prefix(first + 1);
    return takeQuoted(text);
  }
  return std::string(trimmed(takeUpTo(';', text)));
}

}  // namespace

ContentType ContentType::parse(std::string_view field) {
  ContentType result;
  result.type = lowercaseASCII(trimmed(takeUpTo(';', field)));
  while (!field.empty()) {
    const auto end = std::min(field.find_first_of("=;"), field.size());
    const auto name = lowercaseASCII(trimmed(field.substr(0, end)));
    const bool hasValue = end < field.size() && field[end] == '=';
    field.remove_prefix(std::min(end + 1, field.size()));
    const auto value = hasValue ? takeValue(field) : std::string();
    if (name == "charset" && result.charset.empty()) {
      result.charset = value;
    }
  }
  return result;
}

}  // namespace kestova
