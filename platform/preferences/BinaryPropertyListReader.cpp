// SPDX-License-Identifier: Apache-2.0
#include "preferences/BinaryPropertyListReader.h"

#include <KestovaPlatform/NSString.h>

#include "preferences/PropertyListFault.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

namespace kestova {
namespace {

/// How many bytes of texts and data may be made for each byte of the file, and so many anyway.
constexpr std::uint64_t kMostBytesForEach = 16;
constexpr std::uint64_t kMostBytesAnyway = std::uint64_t(1) << 24;

bool isSize(std::size_t bytes) { return bytes >= 1 && bytes <= 8; }

std::string_view textOf(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

inline std::size_t BinaryPropertyListReader::placeOf(std::span<const std::byte> bytes) const {
  return static_cast<std::size_t>(bytes.data() - bytes_.data());
}

/// The object of that number; `place` is where it is referred to.
[[gnu::always_inline]] inline BinaryPropertyListItem BinaryPropertyListReader::itemOf(
    std::size_t number, std::size_t place) const {
  if (number >= slots_.size()) {
    failAtByte(place, NSString::stringWithFormat("There is no object %lu", number));
  }
  const auto entry = offsets_.subspan(number * offsetSize_, offsetSize_);
  const std::uint64_t offset = unsignedFrom(entry);
  if (offset < kBinaryHeaderSize || offset >= objectBytes_.size()) {
    failAtByte(placeOf(entry), "An offset leads to where no objects are");
  }
  return {objectBytes_, offset};
}

inline std::size_t BinaryPropertyListReader::takeReference(
    std::span<const std::byte>& references) const {
  const auto reference = references.first(referenceSize_);
  references = references.subspan(referenceSize_);
  return unsignedFrom(reference);
}

inline void BinaryPropertyListReader::spend(std::uint64_t bytes, std::size_t place) {
  const std::uint64_t most = kMostBytesAnyway + kMostBytesForEach * bytes_.size();
  spent_ += bytes;
  if (spent_ > most) {
    failAtByte(place, NSString::stringWithFormat("The texts and data unfold to more than %lu bytes",
                                                 most));
  }
}

/// Makes the object without others in it that a slot stands for.
[[gnu::always_inline]] inline id BinaryPropertyListReader::make(std::size_t number,
                                                                BinaryPropertyListItem& item) {
  Slot& slot = slots_[number];
  id object = item.value();
  slot.object = object.get();
  slot.size = item.valueSize();
  spend(item.valueSize(), item.place());
  return object;
}

inline id BinaryPropertyListReader::takeKey(std::span<const std::byte>& references) {
  const std::size_t place = placeOf(references);
  const std::size_t number = takeReference(references);
  BinaryPropertyListItem item = itemOf(number, place);
  if (!item.isString()) {
    failAtByte(place, "A key is no string");
  }
  NSObject* const known = slots_[number].object;
  return known != nullptr ? id(known) : make(number, item);
}

/// What stands in the list for an object that was just made: itself, or a copy.
inline id BinaryPropertyListReader::use(id leaf) {
  if (objects_.areLeavesMutable()) {
    kept_.push_back(leaf);
  }
  return objects_.leaf(std::move(leaf));
}

inline void BinaryPropertyListReader::add(id object, std::size_t height) {
  if (open_.empty()) {
    top_ = std::move(object);
    return;
  }
  OpenContainer& container = open_.back();
  container.objects.push_back(std::move(object));
  container.height = std::max(container.height, height + 1);
}

bool BinaryPropertyListReader::accepts(std::span<const std::byte> bytes) {
  return textOf(bytes).starts_with(kBinaryMagic);
}

id BinaryPropertyListReader::read(std::span<const std::byte> bytes, NSUInteger options) {
  return BinaryPropertyListReader(bytes, options).run();
}

BinaryPropertyListReader::BinaryPropertyListReader(std::span<const std::byte> bytes,
                                                   NSUInteger options)
    : bytes_(bytes), objects_(options) {}

id BinaryPropertyListReader::run() {
  checkVersion();
  visit(readTrailer(), bytes_.size() - kBinaryTrailerSize + kTopObjectField);
  while (!open_.empty()) {
    OpenContainer& container = open_.back();
    if (container.references.empty()) {
      close();
    } else {
      visitNext(container);
    }
  }
  return top_;
}

/// The second digit counts changes that don't matter to a reader.
void BinaryPropertyListReader::checkVersion() const {
  const auto version = textOf(bytes_).substr(kBinaryMagic.size(), kBinaryVersion.size());
  if (version.size() == kBinaryVersion.size() && version[0] != kBinaryVersion[0]) {
    throw PropertyListFault{
        NSString::stringWithFormat("The binary format's version %c%c is not known, at byte %lu.",
                                   version[0], version[1], kBinaryMagic.size()),
        NSPropertyListReadUnknownVersionError};
  }
}

/// Checks and keeps what the trailer says; answers the number of the object at the top.
std::size_t BinaryPropertyListReader::readTrailer() {
  if (bytes_.size() < kBinaryHeaderSize + kBinaryTrailerSize) {
    failAtByte(bytes_.size(), "The data ends before its trailer");
  }
  const std::size_t end = bytes_.size() - kBinaryTrailerSize;
  const auto field = [&](std::size_t at, std::size_t size) {
    return unsignedFrom(bytes_.subspan(end + at, size));
  };
  offsetSize_ = field(kOffsetSizeField, 1);
  referenceSize_ = field(kReferenceSizeField, 1);
  if (!isSize(offsetSize_) || !isSize(referenceSize_)) {
    failAtByte(end + kOffsetSizeField, "Offsets or references take not 1 to 8 bytes");
  }
  const std::uint64_t count = field(kObjectCountField, 8);
  const std::uint64_t table = field(kOffsetTableField, 8);
  if (table < kBinaryHeaderSize || table > end || count > (end - table) / offsetSize_) {
    failAtByte(end + kObjectCountField, "The offset table does not fit into the data");
  }
  objectBytes_ = bytes_.first(table);
  offsets_ = bytes_.subspan(table, count * offsetSize_);
  slots_.resize(count);
  return field(kTopObjectField, 8);
}

/// Opens further containers, so the one that is handed over is not to be used afterwards.
void BinaryPropertyListReader::visitNext(OpenContainer& container) {
  if (!container.keyReferences.empty()) {
    container.keys.add(takeKey(container.keyReferences));
  }
  const std::size_t place = placeOf(container.references);
  visit(takeReference(container.references), place);
}

/// Adds an object to where it is used; `place` is that of the reference to it.
void BinaryPropertyListReader::visit(std::size_t number, std::size_t place) {
  BinaryPropertyListItem item = itemOf(number, place);
  const Slot& slot = slots_[number];
  if (slot.isOpen != 0) {
    failAtByte(place, "A container holds itself");
  }
  if (slot.object != nullptr) {
    return reuse(slot, place);
  }
  switch (item.kind()) {
    case BinaryKind::array:
    case BinaryKind::dictionary:
    case BinaryKind::uid:
      return open(number, item);
    default:
      return add(use(make(number, item)), 0);
  }
}

void BinaryPropertyListReader::reuse(const Slot& known, std::size_t place) {
  if (known.height > 0) {
    checkNesting(known.height, place);
    unfold(known.size, place);
  } else if (objects_.areLeavesMutable()) {
    spend(known.size, place);
  }
  add(objects_.leaf(id(known.object)), known.height);
}

void BinaryPropertyListReader::open(std::size_t number, BinaryPropertyListItem& item) {
  checkNesting(1, item.place());
  OpenContainer container{number, item.kind(), {}, {}, {}, {}, 1, unfolded_};
  if (item.kind() == BinaryKind::uid) {
    openUID(container, item);
  } else {
    openReferences(container, item);
  }
  slots_[number].isOpen = 1;
  open_.push_back(std::move(container));
}

void BinaryPropertyListReader::openUID(OpenContainer& container, BinaryPropertyListItem& item) {
  unfold(2, item.place());
  container.keys.add(kUIDKey);
  container.objects.push_back(item.value());
}

void BinaryPropertyListReader::openReferences(OpenContainer& container,
                                              BinaryPropertyListItem& item) {
  container.references = item.references(referenceSize_);
  const std::size_t total = container.references.size() / referenceSize_;
  unfold(total, item.place());
  const std::size_t keys = item.kind() == BinaryKind::dictionary ? total / 2 : 0;
  container.keyReferences = container.references.first(keys * referenceSize_);
  container.references = container.references.subspan(keys * referenceSize_);
  container.keys.reserve(keys);
  container.objects.reserve(total - keys);
}

void BinaryPropertyListReader::close() {
  OpenContainer closed = std::move(open_.back());
  open_.pop_back();
  id object = containerOf(closed);
  Slot& slot = slots_[closed.number];
  slot.isOpen = 0;
  if (!objects_.areContainersMutable()) {
    slot.object = object.get();
    slot.size = unfolded_ - closed.unfoldedBefore;
    slot.height = closed.height;
  }
  add(std::move(object), closed.height);
}

id BinaryPropertyListReader::containerOf(OpenContainer& closed) {
  if (closed.kind == BinaryKind::array) {
    return objects_.array(std::move(closed.objects));
  }
  id dictionary = objects_.dictionary(closed.keys, closed.objects);
  for (auto* const left : {&closed.keys.keys(), &closed.objects}) {
    std::move(left->begin(), left->end(), std::back_inserter(kept_));
  }
  return dictionary;
}

void BinaryPropertyListReader::checkNesting(std::size_t height, std::size_t place) const {
  if (open_.size() + height > kDeepestNesting) {
    failAtByte(place,
               NSString::stringWithFormat("Containers nest more than %lu deep", kDeepestNesting));
  }
}

void BinaryPropertyListReader::unfold(std::uint64_t objects, std::size_t place) {
  const std::uint64_t most = kMostObjectsAnyway + kMostObjectsForEach * bytes_.size();
  unfolded_ += objects;
  if (unfolded_ > most) {
    failAtByte(place,
               NSString::stringWithFormat("The list unfolds to more than %lu objects", most));
  }
}

}  // namespace kestova
