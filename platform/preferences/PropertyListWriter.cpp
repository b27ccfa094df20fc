// SPDX-License-Identifier: Apache-2.0
#include "preferences/PropertyListWriter.h"

#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDate.h>

#include "preferences/PropertyListFault.h"
#include "preferences/PropertyListObjects.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace kestova {
namespace {

/// How much of a long way from the top, and of a long key on it, is told.
constexpr std::size_t kMostStepsTold = 8;
constexpr NSUInteger kMostUnitsTold = 40;

[[noreturn]] void fail(const Ref<NSString>& problem) { throw PropertyListFault{problem}; }

std::string classOf(const id& object) {
  return object ? std::string(object->classDescriptor().name()) : "null";
}

Ref<NSString> stringFromKey(const id& key) {
  auto string = cast<NSString>(key);
  if (!string) {
    fail(NSString::stringWithFormat("A key of class %s is no string", classOf(key)));
  }
  return string;
}

std::string stepTo(const Ref<NSString>& key, std::size_t index) {
  if (!key) {
    return "[" + std::to_string(index) + "]";
  }
  const NSUInteger told = std::min(key->length(), kMostUnitsTold);
  return "[\"" + key->substringToIndex(told)->displayUTF8() + "\"]";
}

}  // namespace

void PropertyListWriter::walk(const id& top) {
  try {
    visit(top);
    while (!open_.empty()) {
      goOn();
    }
  } catch (PropertyListFault& fault) {
    fault.problem = NSString::stringWithFormat("%@, at %@.", fault.problem, place());
    fault.code = NSPropertyListWriteInvalidError;
    throw;
  }
}

void PropertyListWriter::goOn() {
  OpenContainer& innermost = open_.back();
  if (innermost.next == innermost.entries.size()) {
    open_.pop_back();
    return endContainer();
  }
  Entry& entry = innermost.entries[innermost.next++];
  beginEntry(entry.key);
  visit(std::exchange(entry.object, nullptr));
}

void PropertyListWriter::visit(const id& object) {
  if (const auto string = cast<NSString>(object)) {
    writeString(string);
  } else if (const auto number = cast<NSNumber>(object)) {
    writeNumber(*number);
  } else if (const auto dictionary = cast<NSDictionary>(object)) {
    openDictionary(dictionary);
  } else if (const auto array = cast<NSArray>(object)) {
    openArray(array);
  } else if (const auto data = cast<NSData>(object)) {
    writeData(data);
  } else if (const auto date = cast<NSDate>(object)) {
    visitDate(*date);
  } else {
    fail(NSString::stringWithFormat("A value of class %s is no property list", classOf(object)));
  }
}

void PropertyListWriter::visitDate(const NSDate& date) {
  const NSTimeInterval seconds = date.timeIntervalSinceReferenceDate();
  if (!std::isfinite(seconds)) {
    fail("A date is no moment");
  }
  writeDate(seconds);
}

void PropertyListWriter::openArray(const Ref<NSArray>& array) {
  checkOpening(array);
  Entries entries;
  entries.reserve(array->count());
  for (const id& object : array) {
    entries.push_back({nullptr, object});
  }
  beginArray(entries.size());
  open_.push_back({array, std::move(entries), 0});
}

void PropertyListWriter::openDictionary(const Ref<NSDictionary>& dictionary) {
  checkOpening(dictionary);
  Entries entries;
  entries.reserve(dictionary->count());
  dictionary->enumerateKeysAndObjectsUsingBlock([&](const id& key, const id& object, bool*) {
    entries.push_back({stringFromKey(key), object});
  });
  if (beginDictionary(entries)) {
    open_.push_back({dictionary, std::move(entries), 0});
  }
}

void PropertyListWriter::checkOpening(const id& container) const {
  if (std::ranges::find(open_, container, &OpenContainer::container) != open_.end()) {
    fail("A container holds itself");
  }
  if (open_.size() == kDeepestNesting) {
    fail(NSString::stringWithFormat("Containers nest more than %lu deep", kDeepestNesting));
  }
}

/// The way from the top to what is written now: "[\"windows\"][3][\"frame\"]".
Ref<NSString> PropertyListWriter::place() const {
  if (open_.empty()) {
    return "the top";
  }
  std::string steps;
  for (std::size_t level = 0; level < std::min(open_.size(), kMostStepsTold); ++level) {
    const std::size_t current = open_[level].next - 1;
    steps += stepTo(open_[level].entries[current].key, current);
  }
  return open_.size() > kMostStepsTold ? steps + "…" : steps;
}

}  // namespace kestova
