// SPDX-License-Identifier: Apache-2.0
#include "preferences/BinaryPropertyListWriter.h"

#include <KestovaPlatform/UTF8.h>

#include "object/Reference.h"
#include "text/TextStorage.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <concepts>
#include <memory>
#include <string_view>
#include <utility>

namespace kestova {
namespace {

/// \name What a writer may have written whose room is kept
/// @{
constexpr std::size_t kMostReferencesKept = 4096;
constexpr std::size_t kMostBytesKept = 128 << 10;
/// @}

/// How many bytes there are before the content of an object with a count.
std::size_t sizeOfHead(std::size_t count) {
  return count < kCountFollows ? 1 : 2 + sizeOfUnsigned(count);
}

/// \name Writing at a place with room enough: each answers the place behind it
/// @{

char* putFirstByte(char* to, BinaryKind kind, std::size_t nibble) {
  return putUnsigned(to, static_cast<std::size_t>(kind) << 4 | nibble, 1);
}

/// Of an integer of that size that is not negative.
char* putInteger(char* to, std::uint64_t value, std::size_t size) {
  const auto exponent = static_cast<std::size_t>(std::bit_width(size)) - 1;
  return putUnsigned(putFirstByte(to, BinaryKind::integer, exponent), value, size);
}

char* putHead(char* to, BinaryKind kind, std::size_t count) {
  return count < kCountFollows
             ? putFirstByte(to, kind, count)
             : putInteger(putFirstByte(to, kind, kCountFollows), count, sizeOfUnsigned(count));
}

char* putText(char* to, std::string_view text) { return to + text.copy(to, text.size()); }

char* putTrailer(char* to, std::size_t offsetSize, std::size_t referenceSize, std::size_t objects,
                 std::size_t offsetTable) {
  constexpr std::uint64_t kTop = 0;
  to = putUnsigned(to, 0, kOffsetSizeField);
  to = putUnsigned(to, offsetSize, 1);
  to = putUnsigned(to, referenceSize, 1);
  to = putUnsigned(to, objects, 8);
  to = putUnsigned(to, kTop, 8);
  return putUnsigned(to, offsetTable, 8);
}

/// @}

/// \name The content of a string
/// @{

template <class Unit>
bool isNarrow(std::basic_string_view<Unit> units) {
  return sizeof(Unit) == 1 || isASCII(units);
}

void putNarrow(char* to, std::string_view units) { putText(to, units); }

void putNarrow(char* to, std::u16string_view units) {
  std::ranges::transform(units, to, [](unichar unit) { return static_cast<char>(unit); });
}

template <class Unit>
void putWide(char* to, std::basic_string_view<Unit> units) {
  for (const Unit unit : units) {
    to = putUnsigned(to, static_cast<unichar>(unit), sizeof(unichar));
  }
}

/// @}

}  // namespace

/// One writer is kept for the next list, with the room that it has taken: giving that back to the
/// system and taking it again can cost as much as the writing.
Ref<NSData> BinaryPropertyListWriter::write(const id& propertyList) {
  static std::atomic<BinaryPropertyListWriter*> spare{nullptr};
  std::unique_ptr<BinaryPropertyListWriter> writer(spare.exchange(nullptr));
  if (!writer) {
    writer = std::make_unique<BinaryPropertyListWriter>();
  }
  writer->walk(propertyList);
  auto written = writer->putDown();
  if (!writer->isLarge()) {
    writer->clear();
    writer.reset(spare.exchange(writer.release()));
  }
  return written;
}

bool BinaryPropertyListWriter::isLarge() const noexcept {
  return references_.size() > kMostReferencesKept || objects_.bytes().size() > kMostBytesKept;
}

void BinaryPropertyListWriter::clear() {
  forget();
  objects_.clear();
  containers_.clear();
  numbersOfContainers_.clear();
  references_.clear();
  nextReferences_.clear();
}

/// Below 0 all eight bytes are needed: what takes less has no sign.
BinaryPropertyListWriter::Plain BinaryPropertyListWriter::integer(std::int64_t value) {
  const auto bits = static_cast<std::uint64_t>(value);
  return {BinaryKind::integer, sizeOfUnsigned(bits), bits};
}

BinaryPropertyListWriter::Plain BinaryPropertyListWriter::plainOf(const NSNumber& number) {
  return std::visit(
      [](auto value) -> Plain {
        using T = decltype(value);
        if constexpr (std::same_as<T, bool>) {
          return {BinaryKind::simple, 0, value ? kBinaryTrue : kBinaryFalse};
        } else if constexpr (std::same_as<T, float>) {
          return {BinaryKind::real, sizeof value, std::bit_cast<std::uint32_t>(value)};
        } else if constexpr (std::same_as<T, double>) {
          return {BinaryKind::real, sizeof value, std::bit_cast<std::uint64_t>(value)};
        } else {
          return std::in_range<std::int64_t>(value)
                     ? integer(static_cast<std::int64_t>(value))
                     : Plain{BinaryKind::integer, 16, static_cast<std::uint64_t>(value)};
        }
      },
      number.value());
}

/// What the only entry of a dictionary says when it stands for a UID.
std::optional<BinaryPropertyListWriter::Plain> BinaryPropertyListWriter::uidOf(
    const Entries& entries) {
  const auto* number = entries.size() == 1 && reference(*entries[0].key) == kUIDKey
                           ? dynamic_cast<const NSNumber*>(entries[0].object)
                           : nullptr;
  if (number == nullptr) {
    return std::nullopt;
  }
  const Plain plain = plainOf(*number);
  if (plain.kind != BinaryKind::integer || number->compare(0) == NSOrderedAscending) {
    return std::nullopt;
  }
  return Plain{BinaryKind::uid, sizeOfUnsigned(plain.bits), plain.bits};
}

void BinaryPropertyListWriter::writeString(const NSString& string) {
  withUnits(string, [&](auto units) {
    const bool narrow = isNarrow(units);
    const std::size_t count = units.size();
    char* const to =
        objects_.extend(sizeOfHead(count) + (narrow ? count : sizeof(unichar) * count));
    if (narrow) {
      putNarrow(putHead(to, BinaryKind::asciiString, count), units);
    } else {
      putWide(putHead(to, BinaryKind::utf16String, count), units);
    }
  });
  refer(objects_.addLeaf());
}

void BinaryPropertyListWriter::writeNumber(const NSNumber& number) { addPlain(plainOf(number)); }

void BinaryPropertyListWriter::writeData(const NSData& data) {
  const std::string_view bytes(reinterpret_cast<const char*>(data.bytes()), data.length());
  char* const to = objects_.extend(sizeOfHead(bytes.size()) + bytes.size());
  putText(putHead(to, BinaryKind::data, bytes.size()), bytes);
  refer(objects_.addLeaf());
}

void BinaryPropertyListWriter::writeDate(NSTimeInterval seconds) {
  addPlain({BinaryKind::date, sizeof seconds, std::bit_cast<std::uint64_t>(seconds)});
}

bool BinaryPropertyListWriter::repeatContainer(std::size_t number) {
  refer(numbersOfContainers_[number]);
  return true;
}

void BinaryPropertyListWriter::beginArray(std::size_t count) {
  addContainer(BinaryKind::array, count, count);
}

bool BinaryPropertyListWriter::beginDictionary(Entries& entries) {
  if (const auto uid = uidOf(entries)) {
    numbersOfContainers_.push_back(addPlain(*uid));
    return false;
  }
  addContainer(BinaryKind::dictionary, entries.size(), 2 * entries.size());
  for (const Entry& entry : entries) {
    writeString(*entry.key);
  }
  return true;
}

/// Answers the number of the object.
std::size_t BinaryPropertyListWriter::addPlain(const Plain& plain) {
  const auto [kind, size, bits] = plain;
  const auto nibble = kind == BinaryKind::simple ? bits
                      : kind == BinaryKind::uid  ? size - 1
                                                 : std::bit_width(size) - 1;
  putUnsigned(putFirstByte(objects_.extend(1 + size), kind, nibble), bits, size);
  const std::size_t number = objects_.addLeaf();
  refer(number);
  return number;
}

void BinaryPropertyListWriter::addContainer(BinaryKind kind, std::size_t count,
                                            std::size_t references) {
  const std::size_t number = objects_.addOther();
  refer(number);
  numbersOfContainers_.push_back(number);
  containers_.push_back({kind, number, count, references_.size(), references});
  objects_.expect(references);
  nextReferences_.push_back(references_.size());
  references_.resize(references_.size() + references);
}

/// Nothing refers to the object at the top.
void BinaryPropertyListWriter::refer(std::size_t number) {
  if (!nextReferences_.empty()) {
    references_[nextReferences_.back()++] = number;
  }
}

Ref<NSData> BinaryPropertyListWriter::putDown() {
  referenceSize_ = sizeOfUnsigned(objects_.count());
  const std::size_t offsetTable = kBinaryHeaderSize + objects_.bytes().size() + sizeOfContainers();
  const std::size_t offsetSize = sizeOfUnsigned(offsetTable);
  const auto output = NSMutableData::data();
  char* to = reinterpret_cast<char*>(
      output->extend(offsetTable + offsetSize * objects_.count() + kBinaryTrailerSize));
  to = putText(putText(to, kBinaryMagic), kBinaryVersion);
  to = putOffsets(putObjects(to), offsetSize);
  putTrailer(to, offsetSize, referenceSize_, objects_.count(), offsetTable);
  return NSData::taking(*output);
}

char* BinaryPropertyListWriter::putObjects(char* to) const {
  const std::string_view leaves = objects_.bytes();
  std::size_t put = 0;
  for (const Container& container : containers_) {
    const std::size_t place = objects_.placeOf(container.number);
    to = putText(to, leaves.substr(put, place - put));
    to = putContainer(to, container);
    put = place;
  }
  return putText(to, leaves.substr(put));
}

char* BinaryPropertyListWriter::putContainer(char* to, const Container& container) const {
  const auto& [kind, number, count, first, references] = container;
  to = putHead(to, kind, count);
  for (std::size_t index = first; index < first + references; ++index) {
    to = putUnsigned(to, references_[index], referenceSize_);
  }
  return to;
}

char* BinaryPropertyListWriter::putOffsets(char* to, std::size_t offsetSize) const {
  std::size_t before = kBinaryHeaderSize;  // all that is no leaf
  auto container = containers_.begin();
  for (std::size_t number = 0; number < objects_.count(); ++number) {
    to = putUnsigned(to, before + objects_.placeOf(number), offsetSize);
    if (container != containers_.end() && container->number == number) {
      before += sizeOf(*container++);
    }
  }
  return to;
}

std::size_t BinaryPropertyListWriter::sizeOf(const Container& container) const {
  return sizeOfHead(container.count) + referenceSize_ * container.references;
}

std::size_t BinaryPropertyListWriter::sizeOfContainers() const {
  std::size_t sum = 0;
  for (const Container& container : containers_) {
    sum += sizeOf(container);
  }
  return sum;
}

}  // namespace kestova
