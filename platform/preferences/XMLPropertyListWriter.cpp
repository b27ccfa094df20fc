// SPDX-License-Identifier: Apache-2.0
#include "preferences/XMLPropertyListWriter.h"

#include "collections/StableSort.h"
#include "preferences/PropertyListFault.h"
#include "preferences/PropertyListSurvey.h"
#include "preferences/PropertyListText.h"
#include "text/TextStorage.h"

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <functional>
#include <utility>
#include <variant>

namespace kestova {
namespace {

/// A line of Base64 ends at this column as long as the indentation, by tabs of eight, leaves room.
constexpr std::size_t kColumns = 76;
constexpr std::size_t kTab = 8;
constexpr std::size_t kFewestDigits = 16;

/// From how many bytes on lines move to where the data grows: growing there copies nothing.
constexpr std::size_t kFewestBytes = std::size_t(1) << 16;

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

/// How many units, of so many at most, two texts begin with alike.
std::size_t commonLength(const NSString& a, const NSString& b, std::size_t most) {
  return withBoth(a, b, [most](auto x, auto y) {
    const auto begin = x.substr(0, most);
    const auto end = std::mismatch(begin.begin(), begin.end(), y.begin(), y.end()).first;
    return static_cast<std::size_t>(end - begin.begin());
  });
}

/// Eight units of a text, from some place on, as one number that is ordered as they are. A unit
/// that a byte can't tell from all others ends it.
std::uint64_t blockOf(const NSString& text, std::size_t from) {
  return withUnits(text, [from](auto units) {
    constexpr unichar kMost = 0xFF;
    std::uint64_t block = 0;
    int shift = 64;
    for (std::size_t at = from; at < units.size() && shift > 0; ++at) {
      const auto unit = std::min(static_cast<unichar>(units[at]), kMost);
      block |= std::uint64_t(unit) << (shift -= 8);
      if (unit == kMost) {
        break;
      }
    }
    return block;
  });
}

/// Orders entries by their keys. Most keys are told apart by the first units that are not the same
/// for all: these are compared side by side, without a visit to the keys.
template <class Entry>
void sortByKeys(std::vector<Entry>& entries) {
  struct Place {
    std::uint64_t block;
    Entry* entry;
  };
  std::size_t common = entries.empty() ? 0 : entries.front().key->length();
  for (const Entry& entry : entries) {
    common = commonLength(*entries.front().key, *entry.key, common);
  }
  std::vector<Place> places;
  places.reserve(entries.size());
  for (Entry& entry : entries) {
    places.push_back({blockOf(*entry.key, common), &entry});
  }
  stableSort(places, [](const Place& a, const Place& b) {
    return a.block != b.block ? a.block < b.block : isBefore(*a.entry->key, *b.entry->key);
  });
  std::vector<Entry> sorted;
  sorted.reserve(entries.size());
  for (const Place& place : places) {
    sorted.push_back(*place.entry);
  }
  entries.swap(sorted);
}

}  // namespace

/// What stands around a value.
struct XMLPropertyListWriter::Tags {
  std::string_view start;
  std::string_view end;

  static const Tags key;
  static const Tags string;
  static const Tags integer;
  static const Tags real;
  static const Tags date;
};

constexpr XMLPropertyListWriter::Tags XMLPropertyListWriter::Tags::key{"<key>", "</key>\n"};
constexpr XMLPropertyListWriter::Tags XMLPropertyListWriter::Tags::string{"<string>",
                                                                          "</string>\n"};
constexpr XMLPropertyListWriter::Tags XMLPropertyListWriter::Tags::integer{"<integer>",
                                                                           "</integer>\n"};
constexpr XMLPropertyListWriter::Tags XMLPropertyListWriter::Tags::real{"<real>", "</real>\n"};
constexpr XMLPropertyListWriter::Tags XMLPropertyListWriter::Tags::date{"<date>", "</date>\n"};

Ref<NSData> XMLPropertyListWriter::write(const id& propertyList) {
  XMLPropertyListWriter writer(propertyList);
  writer.output_ =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<!DOCTYPE plist>\n"
      "<plist version=\"1.0\">\n";
  writer.walk(propertyList);
  writer.output_ += "</plist>\n";
  writer.flush();
  return NSData::taking(*writer.data_);
}

void XMLPropertyListWriter::writeString(const NSString& string) { putText(Tags::string, string); }

void XMLPropertyListWriter::writeNumber(const NSNumber& number) {
  std::visit(
      [this](auto value) {
        using T = decltype(value);
        if constexpr (std::same_as<T, bool>) {
          putLine(value ? "<true/>" : "<false/>");
        } else if constexpr (std::integral<T>) {
          putElement(Tags::integer, std::to_string(value));
        } else {
          putElement(Tags::real, textFromReal(value));
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
  putElement(Tags::date, *text);
}

bool XMLPropertyListWriter::repeatContainer(std::size_t) {
  if (!std::exchange(isSurveyed_, true)) {
    PropertyListSurvey::check(top_);
  }
  return false;
}

void XMLPropertyListWriter::beginArray(std::size_t count) { beginContainer("array", count); }

bool XMLPropertyListWriter::beginDictionary(Entries& entries) {
  sortByKeys(entries);
  beginContainer("dict", entries.size());
  return true;
}

void XMLPropertyListWriter::beginEntry(const NSString* key) {
  if (key != nullptr) {
    putText(Tags::key, *key);
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

void XMLPropertyListWriter::putElement(const Tags& tags, std::string_view text) {
  indent().append(tags.start).append(text).append(tags.end);
}

void XMLPropertyListWriter::putText(const Tags& tags, const NSString& text) {
  if (text.isEightBit()) {
    return putUTF8(tags, {text.eightBitCharacters(), text.length()});
  }
  const auto utf8 = text.UTF8String();
  if (!utf8) {
    fail("A text with an unpaired surrogate has no form in XML");
  }
  putUTF8(tags, *utf8);
}

void XMLPropertyListWriter::putUTF8(const Tags& tags, std::string_view utf8) {
  indent().append(tags.start);
  if (!appendToXML(output_, utf8)) {
    fail("A text with a character that XML lacks has no form in XML");
  }
  output_.append(tags.end);
}

void XMLPropertyListWriter::putLine(std::string_view line) { indent().append(line) += '\n'; }

std::string& XMLPropertyListWriter::indent() {
  if (output_.size() >= kFewestBytes) {
    flush();
  }
  return output_.append(open_.size(), '\t');
}

void XMLPropertyListWriter::flush() {
  data_->appendBytes_length(output_.data(), output_.size());
  output_.clear();
}

}  // namespace kestova
