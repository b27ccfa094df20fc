// SPDX-License-Identifier: Apache-2.0
#include "collections/CollectionDescription.h"

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSSet.h>
#include <KestovaPlatform/NSString.h>

#include "collections/Members.h"
#include "object/Reference.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace kestova {
namespace {

/// How many collections are written inside each other: the indents of what lies deeper would be
/// most of the text.
constexpr std::size_t kDeepest = 100;

/// What a text may hold without being quoted.
bool isPlain(unichar unit) {
  return (unit >= '0' && unit <= '9') || (unit >= 'A' && unit <= 'Z') ||
         (unit >= 'a' && unit <= 'z') ||
         (unit < 0x80 &&
          std::string_view("_$/:.").find(static_cast<char>(unit)) != std::string_view::npos);
}

void appendEscape(std::u16string& text, unichar unit) {
  char code[8];
  std::snprintf(code, sizeof code, "\\U%04x", static_cast<unsigned>(unit));
  text.append(code, code + 6);
}

void appendQuoted(std::u16string& text, unichar unit) {
  switch (unit) {
    case '"':
    case '\\':
      text.append({u'\\', unit});
      return;
    case '\n':
      text.append(u"\\n");
      return;
    case '\r':
      text.append(u"\\r");
      return;
    case '\t':
      text.append(u"\\t");
      return;
    default:
      break;
  }
  if (unit < 0x20 || unit == 0x7F) {
    appendEscape(text, unit);
  } else {
    text.push_back(unit);
  }
}

std::u16string quotedIfNeeded(const std::u16string& text) {
  if (!text.empty() && std::ranges::all_of(text, isPlain)) {
    return text;
  }
  std::u16string quoted = u"\"";
  for (const unichar unit : text) {
    appendQuoted(quoted, unit);
  }
  return quoted + u'"';
}

/// The keys in the order of their texts when all of them are texts, else as they come.
std::vector<id> sortedKeys(const NSDictionary& dictionary) {
  std::vector<id> keys = objectsOf(dictionary.allKeys());
  if (std::ranges::all_of(keys, [](const id& key) { return cast<NSString>(key) != nullptr; })) {
    std::ranges::sort(keys, [](const id& a, const id& b) {
      return cast<NSString>(a)->compare(cast<NSString>(b)) == NSOrderedAscending;
    });
  }
  return keys;
}

class Writer {
 public:
  void write(const NSObject& object) {
    if (const auto* text = dynamic_cast<const NSString*>(&object)) {
      text_ += quotedIfNeeded(text->utf16());
    } else if (const auto* array = dynamic_cast<const NSArray*>(&object)) {
      writeCollection(*array, u"(", u")", [&] { writeList(*array); });
    } else if (const auto* set = dynamic_cast<const NSSet*>(&object)) {
      writeCollection(*set, u"{(", u")}", [&] { writeList(*set); });
    } else if (const auto* dictionary = dynamic_cast<const NSDictionary*>(&object)) {
      writeCollection(*dictionary, u"{", u"}", [&] { writeEntries(*dictionary); });
    } else {
      text_ += object.description()->utf16();
    }
  }

  std::u16string take() { return std::move(text_); }

 private:
  template <class WriteMembers>
  void writeCollection(const NSObject& collection, std::u16string_view opening,
                       std::u16string_view closing, const WriteMembers& writeMembers) {
    if (std::ranges::find(around_, &collection) != around_.end()) {
      text_ += u"(itself)";
      return;
    }
    if (around_.size() == kDeepest) {
      text_ += u"(...)";
      return;
    }
    text_ += opening;
    around_.push_back(&collection);
    writeMembers();
    around_.pop_back();
    startLine();
    text_ += closing;
  }

  template <class List>
  void writeList(const List& list) {
    bool isFirst = true;
    for (const id& member : reference(list)) {
      text_ += isFirst ? u"" : u",";
      isFirst = false;
      startLine();
      write(*member);
    }
  }

  void writeEntries(const NSDictionary& dictionary) {
    for (const id& key : sortedKeys(dictionary)) {
      startLine();
      write(*key);
      text_ += u" = ";
      write(*dictionary.objectForKey(key));
      text_ += u';';
    }
  }

  void startLine() {
    text_ += u'\n';
    text_.append(4 * around_.size(), u' ');
  }

  std::u16string text_;
  /// The collections that what is written now lies in, the outermost first.
  std::vector<const NSObject*> around_;
};

}  // namespace

Ref<NSString> descriptionOfCollection(const NSObject& collection) {
  Writer writer;
  writer.write(collection);
  const std::u16string text = writer.take();
  return NSString::stringWithCharacters_length(text.data(), text.size());
}

}  // namespace kestova
