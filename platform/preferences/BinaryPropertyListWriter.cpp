// SPDX-License-Identifier: Apache-2.0
#include "preferences/BinaryPropertyListWriter.h"

#include <KestovaPlatform/UTF8.h>

#include "text/TextStorage.h"

#include <array>
#include <bit>
#include <concepts>
#include <limits>
#include <utility>

namespace kestova {
namespace {

/// The fewest bytes of 1, 2, 4 and 8 that hold the number.
std::size_t sizeOfUnsigned(std::uint64_t value) {
  return value <= 0xFF ? 1 : value <= 0xFFFF ? 2 : value <= 0xFFFF'FFFF ? 4 : 8;
}

char firstByte(BinaryKind kind, std::size_t nibble) {
  return static_cast<char>(static_cast<std::size_t>(kind) << 4 | nibble);
}

}  // namespace

Ref<NSData> BinaryPropertyListWriter::write(const id& propertyList) {
  BinaryPropertyListWriter writer;
  writer.walk(propertyList);
  return writer.putDown();
}

std::size_t BinaryPropertyListWriter::PlainHash::operator()(const Plain& plain) const noexcept {
  const auto kind = static_cast<std::uint64_t>(plain.kind) * 32 + plain.size;
  const std::uint64_t spread = (plain.bits ^ kind) * 0x9E3779B97F4A7C15U;
  return spread ^ (spread >> 32);
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
  const auto number = entries.size() == 1 && entries[0].key == kUIDKey
                          ? cast<NSNumber>(entries[0].object)
                          : Ref<NSNumber>();
  if (!number) {
    return std::nullopt;
  }
  const Plain plain = plainOf(*number);
  if (plain.kind != BinaryKind::integer || number->compare(0) == NSOrderedAscending) {
    return std::nullopt;
  }
  return Plain{BinaryKind::uid, sizeOfUnsigned(plain.bits), plain.bits};
}

void BinaryPropertyListWriter::writeString(const Ref<NSString>& string) { addRun(string); }

void BinaryPropertyListWriter::writeNumber(const NSNumber& number) { addPlain(plainOf(number)); }

void BinaryPropertyListWriter::writeData(const Ref<NSData>& data) { addRun(data); }

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
    writeString(entry.key);
  }
  return true;
}

/// Answers the number of the item.
std::size_t BinaryPropertyListWriter::addPlain(const Plain& plain) {
  const auto [known, isNew] = numbersOfPlains_.try_emplace(plain, items_.size());
  const std::size_t number = isNew ? addItem(plain) : known->second;
  refer(number);
  return number;
}

template <class T>
void BinaryPropertyListWriter::addRun(const Ref<T>& run) {
  const auto [known, isNew] = numbersOfRuns_.try_emplace(run, items_.size());
  refer(isNew ? addItem(run) : known->second);
}

void BinaryPropertyListWriter::addContainer(BinaryKind kind, std::size_t count,
                                            std::size_t references) {
  numbersOfContainers_.push_back(addItem(Container{kind, count, references_.size(), references}));
  refer(numbersOfContainers_.back());
  nextReferences_.push_back(references_.size());
  references_.resize(references_.size() + references);
}

std::size_t BinaryPropertyListWriter::addItem(Item item) {
  items_.push_back(std::move(item));
  return items_.size() - 1;
}

/// Nothing refers to the object at the top.
void BinaryPropertyListWriter::refer(std::size_t number) {
  if (!nextReferences_.empty()) {
    references_[nextReferences_.back()++] = number;
  }
}

Ref<NSData> BinaryPropertyListWriter::putDown() {
  output_.append(kBinaryMagic).append(kBinaryVersion);
  referenceSize_ = sizeOfUnsigned(items_.size());
  std::vector<std::size_t> offsets;
  offsets.reserve(items_.size());
  for (const Item& item : items_) {
    offsets.push_back(output_.size());
    std::visit([this](const auto& each) { putItem(each); }, item);
  }
  const std::size_t offsetTable = output_.size();
  const std::size_t offsetSize = sizeOfUnsigned(offsetTable);
  for (const std::size_t offset : offsets) {
    putUnsigned(offset, offsetSize);
  }
  putTrailer(offsetSize, offsetTable);
  return NSData::dataWithBytes_length(output_.data(), output_.size());
}

void BinaryPropertyListWriter::putItem(const Plain& plain) {
  const auto [kind, size, bits] = plain;
  const auto nibble = kind == BinaryKind::simple ? bits
                      : kind == BinaryKind::uid  ? size - 1
                                                 : std::bit_width(size) - 1;
  output_.push_back(firstByte(kind, nibble));
  putUnsigned(bits, size);
}

void BinaryPropertyListWriter::putItem(const Ref<NSString>& string) {
  withUnits(*string, [&](auto units) {
    const bool isNarrow = isASCII(units);
    putHead(isNarrow ? BinaryKind::asciiString : BinaryKind::utf16String, units.size());
    if (isNarrow) {
      output_.append(units.begin(), units.end());
      return;
    }
    for (const auto unit : units) {
      putUnsigned(static_cast<unichar>(unit), 2);
    }
  });
}

void BinaryPropertyListWriter::putItem(const Ref<NSData>& data) {
  putHead(BinaryKind::data, data->length());
  output_.append(reinterpret_cast<const char*>(data->bytes()), data->length());
}

void BinaryPropertyListWriter::putItem(const Container& container) {
  const auto& [kind, count, first, references] = container;
  putHead(kind, count);
  for (std::size_t index = first; index < first + references; ++index) {
    putUnsigned(references_[index], referenceSize_);
  }
}

void BinaryPropertyListWriter::putHead(BinaryKind kind, std::size_t count) {
  const bool fits = count < kCountFollows;
  output_.push_back(firstByte(kind, fits ? count : kCountFollows));
  if (!fits) {
    putItem(integer(static_cast<std::int64_t>(count)));
  }
}

void BinaryPropertyListWriter::putUnsigned(std::uint64_t value, std::size_t size) {
  std::array<char, 16> bytes{};
  for (auto byte = bytes.rbegin(); value != 0; value >>= 8) {
    *byte++ = static_cast<char>(value);
  }
  output_.append(bytes.end() - size, size);
}

void BinaryPropertyListWriter::putTrailer(std::size_t offsetSize, std::size_t offsetTable) {
  constexpr std::uint64_t kTop = 0;
  putUnsigned(0, kOffsetSizeField);
  putUnsigned(offsetSize, 1);
  putUnsigned(referenceSize_, 1);
  putUnsigned(items_.size(), 8);
  putUnsigned(kTop, 8);
  putUnsigned(offsetTable, 8);
}

}  // namespace kestova
