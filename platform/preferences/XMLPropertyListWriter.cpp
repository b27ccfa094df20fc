// SPDX-License-Identifier: Apache-2.0
#include "preferences/XMLPropertyListWriter.h"

#include "preferences/PropertyListFault.h"
#include "preferences/PropertyListSurvey.h"
#include "preferences/PropertyListText.h"
#include "text/TextStorage.h"

#include <algorithm>
#include <concepts>
#include <functional>
#include <utility>
#include <variant>

namespace kestova {
namespace {

/// A line of Base64 ends at this column as long as the indentation, by tabs of eight, leaves room.
constexpr std::size_t kColumns = 76;
constexpr std::size_t kTab = 8;
constexpr std::size_t kFewestDigits = 16;

[[noreturn]] void fail(const Ref<NSString>& problem) { throw PropertyListFault{problem}; }

std::size_t digitsPerLine(std::size_t depth) {
  const std::size_t indent = std::min(depth * kTab, kColumns - kFewestDigits);
  return (kColumns - indent) / 4 * 4;
}

/// By units, not by what the texts mean to people: the same on every machine.
bool isBefore(const NSString& a, const NSString& b) {
  return withBoth(a, b, [](auto x, auto y) {
    if constexpr (std::same_as<decltype(x), decltype(y)>) {
      return x < y;
    } else {
      return std::ranges::lexicographical_compare(x, y, std::less<unichar>());
    }
  });
}

}  // namespace

Ref<NSData> XMLPropertyListWriter::write(const id& propertyList) {
  XMLPropertyListWriter writer(propertyList);
  writer.output_ =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<!DOCTYPE plist>\n"
      "<plist version=\"1.0\">\n";
  writer.walk(propertyList);
  writer.output_ += "</plist>\n";
  return NSData::dataWithBytes_length(writer.output_.data(), writer.output_.size());
}

void XMLPropertyListWriter::writeString(const NSString& string) { putText("string", string); }

void XMLPropertyListWriter::writeNumber(const NSNumber& number) {
  std::visit(
      [this](auto value) {
        using T = decltype(value);
        if constexpr (std::same_as<T, bool>) {
          putLine(value ? "<true/>" : "<false/>");
        } else if constexpr (std::integral<T>) {
          putElement("integer", std::to_string(value));
        } else {
          putElement("real", textFromReal(value));
        }
      },
      number.value());
}

void XMLPropertyListWriter::writeData(const NSData& data) {
  const std::string digits = base64FromBytes(data.span());
  const std::string_view all(digits);
  const std::size_t width = digitsPerLine(open_.size());
  putLine("<data>");
  for (std::size_t start = 0; start < all.size(); start += width) {
    putLine(all.substr(start, width));
  }
  putLine("</data>");
}

void XMLPropertyListWriter::writeDate(NSTimeInterval seconds) {
  const auto text = textFromDate(seconds);
  if (!text) {
    fail("A date outside the years 0 to 9999 has no form in XML");
  }
  putElement("date", *text);
}

bool XMLPropertyListWriter::repeatContainer(std::size_t) {
  if (!std::exchange(isSurveyed_, true)) {
    PropertyListSurvey::check(top_);
  }
  return false;
}

void XMLPropertyListWriter::beginArray(std::size_t count) { beginContainer("array", count); }

bool XMLPropertyListWriter::beginDictionary(Entries& entries) {
  std::ranges::sort(entries,
                    [](const Entry& a, const Entry& b) { return isBefore(*a.key, *b.key); });
  beginContainer("dict", entries.size());
  return true;
}

void XMLPropertyListWriter::beginEntry(const Ref<NSString>& key) {
  if (key) {
    putText("key", *key);
  }
}

void XMLPropertyListWriter::endContainer() {
  const auto name = open_.back();
  open_.pop_back();
  if (!name.empty()) {
    putLine("</" + std::string(name) + ">");
  }
}

void XMLPropertyListWriter::beginContainer(std::string_view name, std::size_t count) {
  putLine("<" + std::string(name) + (count == 0 ? "/>" : ">"));
  open_.push_back(count == 0 ? std::string_view() : name);
}

void XMLPropertyListWriter::putElement(std::string_view name, std::string_view text) {
  indent().append("<").append(name).append(">").append(text);
  output_.append("</").append(name).append(">\n");
}

void XMLPropertyListWriter::putText(std::string_view name, const NSString& text) {
  const auto utf8 = text.UTF8String();
  if (!utf8) {
    fail("A text with an unpaired surrogate has no form in XML");
  }
  if (!isXMLText(*utf8)) {
    fail("A text with a character that XML lacks has no form in XML");
  }
  putElement(name, escapedForXML(*utf8));
}

void XMLPropertyListWriter::putLine(std::string_view line) { indent().append(line) += '\n'; }

std::string& XMLPropertyListWriter::indent() { return output_.append(open_.size(), '\t'); }

}  // namespace kestova
