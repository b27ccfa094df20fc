// SPDX-License-Identifier: Apache-2.0
#include "preferences/PreferencesImage.h"

#include <KestovaPlatform/NSData.h>

#include "preferences/BinaryPropertyListItem.h"
#include "preferences/BinaryPropertyListLayout.h"
#include "preferences/BinaryPropertyListWriter.h"

#include <algorithm>

namespace kestova {
namespace {

/// One is put in about as fast as ten are written among all others.
constexpr std::size_t kMostPutIn = 8;

bool holdsOthers(BinaryKind kind) {
  return kind == BinaryKind::array || kind == BinaryKind::dictionary;
}

/// A property list with one object alone.
class LoneObject {
 public:
  explicit LoneObject(const id& object) : list_(BinaryPropertyListWriter::write(object)) {}

  bool isLeaf() const { return !holdsOthers(static_cast<BinaryKind>(bytes().front() >> 4)); }

  /// Of a leaf: behind it there are its offset, in one byte or more, and the trailer.
  std::span<const std::byte> bytes() const {
    const auto all = list_->span();
    const auto trailer = all.last(kBinaryTrailerSize);
    const std::size_t end = unsignedFrom(trailer.subspan(kOffsetTableField, 8));
    return all.first(end).subspan(kBinaryHeaderSize);
  }

 private:
  Ref<NSData> list_;
};

}  // namespace

std::span<const std::byte> PreferencesImage::bytesOf(const Ref<NSDictionary>& contents,
                                                     std::span<const id> changedKeys) {
  try {
    if (bytes_.empty() || changedKeys.size() > kMostPutIn || !putAll(*contents, changedKeys)) {
      keep(BinaryPropertyListWriter::write(contents)->span());
    }
    return bytes_;
  } catch (...) {
    forget();
    throw;
  }
}

void PreferencesImage::keep(Bytes whole) {
  bytes_.assign(whole.begin(), whole.end());
  uses_.clear();
  const std::size_t trailer = bytes_.size() - kBinaryTrailerSize;
  offsetSize_ = unsignedAt(trailer + kOffsetSizeField, 1);
  referenceSize_ = unsignedAt(trailer + kReferenceSizeField, 1);
  count_ = unsignedAt(trailer + kObjectCountField, 8);
  offsetTable_ = unsignedAt(trailer + kOffsetTableField, 8);
  BinaryPropertyListItem top(objects(), kBinaryHeaderSize);
  const bool isDictionary = top.kind() == BinaryKind::dictionary;  // not one that stands for a UID
  const Bytes references = isDictionary ? top.references(referenceSize_) : Bytes();
  references_ = isDictionary ? static_cast<std::size_t>(references.data() - bytes_.data()) : 0;
  keys_ = references.size() / referenceSize_ / 2;
}

void PreferencesImage::countUses() {
  uses_.resize(count_);
  for (std::size_t number = 0; number < count_; ++number) {
    BinaryPropertyListItem item(objects(), placeOf(number));
    Bytes references = holdsOthers(item.kind()) ? item.references(referenceSize_) : Bytes();
    for (; !references.empty(); references = references.subspan(referenceSize_)) {
      ++uses_[unsignedFrom(references.first(referenceSize_))];
    }
  }
}

/// Answers whether all could be put in. If not, some may have been.
bool PreferencesImage::putAll(const NSDictionary& contents, std::span<const id> changedKeys) {
  if (uses_.empty()) {
    countUses();
  }
  return std::ranges::all_of(changedKeys, [&](const id& key) {
    const id value = contents.objectForKey(key);
    return value && put(key, value);
  });
}

bool PreferencesImage::put(const id& key, const id& value) {
  const LoneObject leaf(value);
  const std::size_t index = indexOf(LoneObject(key).bytes());
  if (index == keys_ || !leaf.isLeaf()) {
    return false;
  }
  const std::size_t reference = referenceAt(keys_ + index);
  const std::size_t number = unsignedAt(reference, referenceSize_);
  return uses_[number] == 1 ? replace(number, leaf.bytes()) : append(reference, leaf.bytes());
}

/// Puts the leaf in place of one that nothing else refers to.
bool PreferencesImage::replace(std::size_t number, Bytes leaf) {
  const std::size_t place = placeOf(number);
  const std::size_t size = endOf(number) - place;
  const std::size_t offsetTable = offsetTable_ - size + leaf.size();
  const auto kind = static_cast<BinaryKind>(bytes_[place] >> 4);
  if (holdsOthers(kind) || sizeOfUnsigned(offsetTable) != offsetSize_) {
    return false;
  }
  setBytes(place, size, leaf);
  setOffsetTable(offsetTable);
  for (std::size_t later = number + 1; later < count_; ++later) {
    setUnsigned(offsetTable_ + later * offsetSize_, placeOf(later) - size + leaf.size(),
                offsetSize_);
  }
  return true;
}

/// Adds the leaf, and lets what referred to another object refer to it.
bool PreferencesImage::append(std::size_t reference, Bytes leaf) {
  const std::size_t place = offsetTable_;
  const std::size_t offsetTable = offsetTable_ + leaf.size();
  if (sizeOfUnsigned(offsetTable) != offsetSize_ || sizeOfUnsigned(count_ + 1) != referenceSize_) {
    return false;
  }
  --uses_[unsignedAt(reference, referenceSize_)];
  uses_.push_back(1);
  setUnsigned(reference, count_, referenceSize_);
  setBytes(place, 0, leaf);
  setOffsetTable(offsetTable);
  const std::vector<std::byte> offset(offsetSize_);
  setBytes(offsetTable_ + count_ * offsetSize_, 0, offset);
  setUnsigned(offsetTable_ + count_ * offsetSize_, place, offsetSize_);
  ++count_;
  setUnsigned(bytes_.size() - kBinaryTrailerSize + kObjectCountField, count_, 8);
  return true;
}

/// Where the top dictionary refers to a key, or behind these to a value.
std::size_t PreferencesImage::referenceAt(std::size_t index) const noexcept {
  return references_ + index * referenceSize_;
}

/// Of a key, or the number of keys where there is no such one. No object begins like another.
std::size_t PreferencesImage::indexOf(Bytes key) const noexcept {
  const Bytes objects = this->objects();
  for (std::size_t index = 0; index < keys_; ++index) {
    const Bytes there = objects.subspan(placeOf(unsignedAt(referenceAt(index), referenceSize_)));
    if (there.size() >= key.size() && std::ranges::equal(there.first(key.size()), key)) {
      return index;
    }
  }
  return keys_;
}

std::size_t PreferencesImage::placeOf(std::size_t number) const noexcept {
  return unsignedAt(offsetTable_ + number * offsetSize_, offsetSize_);
}

std::size_t PreferencesImage::endOf(std::size_t number) const noexcept {
  return number + 1 < count_ ? placeOf(number + 1) : offsetTable_;
}

std::uint64_t PreferencesImage::unsignedAt(std::size_t place, std::size_t size) const noexcept {
  return unsignedFrom(Bytes(bytes_).subspan(place, size));
}

void PreferencesImage::setUnsigned(std::size_t place, std::uint64_t value,
                                   std::size_t size) noexcept {
  putUnsigned(reinterpret_cast<char*>(bytes_.data()) + place, value, size);
}

/// Those behind move.
void PreferencesImage::setBytes(std::size_t place, std::size_t size, Bytes to) {
  const auto at = bytes_.begin() + static_cast<std::ptrdiff_t>(place);
  const std::size_t kept = std::min(size, to.size());
  const auto next = std::ranges::copy(to.first(kept), at).out;
  bytes_.erase(next, next + static_cast<std::ptrdiff_t>(size - kept));
  bytes_.insert(next, to.begin() + static_cast<std::ptrdiff_t>(kept), to.end());
}

void PreferencesImage::setOffsetTable(std::size_t place) noexcept {
  offsetTable_ = place;
  setUnsigned(bytes_.size() - kBinaryTrailerSize + kOffsetTableField, place, 8);
}

}  // namespace kestova
