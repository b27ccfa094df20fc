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
#include <typeinfo>
#include <utility>

namespace kestova {
namespace {

/// How much of a long way from the top, and of a long key on it, is told.
constexpr std::size_t kMostStepsTold = 8;
constexpr NSUInteger kMostUnitsTold = 40;

[[noreturn]] void fail(const Ref<NSString>& problem) { throw PropertyListFault{problem}; }

std::string classOf(const NSObject* object) {
  return object != nullptr ? std::string(object->classDescriptor().name()) : "null";
}

/// The object as a string; null when it is none. Most are of the platform's own class, which needs
/// no walk through the classes.
const NSString* stringIn(const NSObject* object) {
  const bool isPlain = object != nullptr && typeid(*object) == typeid(NSString);
  return isPlain ? static_cast<const NSString*>(object) : dynamic_cast<const NSString*>(object);
}

const NSString* stringFromKey(const NSObject* key) {
  if (const NSString* const string = stringIn(key)) {
    return string;
  }
  fail(NSString::stringWithFormat("A key of class %s is no string", classOf(key)));
}

/// \name Whether a collection holds its members
/// Each tells its own walks alone where in memory they lie.
/// @{

bool holdsMembers(const NSArray& array) {
  struct Array : NSArray {
    using NSArray::contiguousObjects;
  };
  return (array.*&Array::contiguousObjects)() != nullptr;
}

bool holdsMembers(const NSDictionary& dictionary) {
  struct Dictionary : NSDictionary {
    using NSDictionary::contiguousEntries;
  };
  return (dictionary.*&Dictionary::contiguousEntries)() != nullptr;
}

/// @}

std::string stepTo(const NSString* key, std::size_t index) {
  if (key == nullptr) {
    return "[" + std::to_string(index) + "]";
  }
  const NSUInteger told = std::min(key->length(), kMostUnitsTold);
  return "[\"" + key->substringToIndex(told)->displayUTF8() + "\"]";
}

}  // namespace

PropertyListWriter::Members::Members(const Ref<NSArray>& array) {
  const bool areMade = !holdsMembers(*array);
  entries.reserve(array->count());
  for (const id& object : array) {
    entries.push_back({nullptr, object.get()});
    if (areMade) {
      made.push_back(object);
    }
  }
}

PropertyListWriter::Members::Members(const Ref<NSDictionary>& dictionary) {
  const bool areMade = !holdsMembers(*dictionary);
  entries.reserve(dictionary->count());
  auto key = dictionary->members();
  for (const id& object : dictionary->objects()) {
    entries.push_back({stringFromKey((*key).get()), object.get()});
    if (areMade) {
      made.insert(made.end(), {*key, object});
    }
    ++key;
  }
}

void PropertyListWriter::walk(const id& top) {
  try {
    visit(top.get());
    while (!open_.empty()) {
      goOn();
    }
    checkUnfolding();
  } catch (PropertyListFault& fault) {
    if (fault.code == NSPropertyListWriteInvalidError) {
      throw;  // the place is told already
    }
    fault.problem = NSString::stringWithFormat("%@, at %@.", fault.problem, place());
    fault.code = NSPropertyListWriteInvalidError;
    throw;
  }
}

void PropertyListWriter::forget() noexcept {
  known_.clear();
  open_.clear();
  references_ = 0;
  unfolded_ = 0;
}

void PropertyListWriter::goOn() {
  auto& [known, members, next, before] = open_.back();
  if (next == members.entries.size()) {
    close();
    return endContainer();
  }
  const Entry entry = members.entries[next++];
  beginEntry(entry.key);
  visit(entry.object);
}

void PropertyListWriter::visit(NSObject* object) {
  if (const auto* string = stringIn(object)) {
    writeString(*string);
  } else if (const auto* number = dynamic_cast<const NSNumber*>(object)) {
    writeNumber(*number);
  } else if (auto* const dictionary = dynamic_cast<NSDictionary*>(object)) {
    openDictionary(Ref(dictionary));
  } else if (auto* const array = dynamic_cast<NSArray*>(object)) {
    openArray(Ref(array));
  } else if (const auto* data = dynamic_cast<const NSData*>(object)) {
    writeData(*data);
  } else if (const auto* date = dynamic_cast<const NSDate*>(object)) {
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
  Known* const known = meet(array);
  if (known == nullptr) {
    return;
  }
  Members members(array);
  const std::size_t references = members.entries.size();
  beginArray(references);
  open(*known, std::move(members), references);
}

void PropertyListWriter::openDictionary(const Ref<NSDictionary>& dictionary) {
  Known* const known = meet(dictionary);
  if (known == nullptr) {
    return;
  }
  Members members(dictionary);
  const std::size_t references = 2 * members.entries.size();
  if (beginDictionary(members.entries)) {
    open(*known, std::move(members), references);
  } else {
    known->objects = references;
    unfold(references);
    lieIn(known->height);
  }
}

/// What is to be known of a container that is written now; null when it was enough to repeat it.
PropertyListWriter::Known* PropertyListWriter::meet(const id& container) {
  const std::size_t number = known_.size();
  const auto [place, isNew] = known_.try_emplace(container.get(), Known{container, number});
  Known& known = place->second;
  if (known.isOpen) {
    fail("A container holds itself");
  }
  if (open_.size() + known.height > kDeepestNesting) {
    fail(NSString::stringWithFormat("Containers nest more than %lu deep", kDeepestNesting));
  }
  if (isNew || !repeatContainer(known.number)) {
    return &known;
  }
  unfold(known.objects);
  lieIn(known.height);
  return nullptr;
}

void PropertyListWriter::open(Known& known, Members members, std::size_t references) {
  const bool isFirst = known.objects == 0;
  references_ += isFirst ? references : 0;
  known.isOpen = true;
  open_.push_back({&known, std::move(members), 0, unfolded_});
  unfold(references);
}

void PropertyListWriter::close() {
  Known& known = *open_.back().known;
  known.isOpen = false;
  known.objects = unfolded_ - open_.back().unfoldedBefore;
  open_.pop_back();
  lieIn(known.height);
}

/// Far beyond every limit it counts no further.
void PropertyListWriter::unfold(std::uint64_t objects) noexcept {
  constexpr std::uint64_t kEnough = std::uint64_t(1) << 62;
  unfolded_ = std::min(kEnough, unfolded_ + objects);
}

/// The innermost open container holds one of that height.
void PropertyListWriter::lieIn(std::size_t height) noexcept {
  if (!open_.empty()) {
    std::size_t& outer = open_.back().known->height;
    outer = std::max(outer, height + 1);
  }
}

void PropertyListWriter::checkUnfolding() const {
  const std::uint64_t most = kMostObjectsAnyway + kMostObjectsForEach * references_;
  if (unfolded_ > most) {
    fail(NSString::stringWithFormat("The list unfolds to more than %lu objects", most));
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
    steps += stepTo(open_[level].members.entries[current].key, current);
  }
  return open_.size() > kMostStepsTold ? steps + "…" : steps;
}

}  // namespace kestova
