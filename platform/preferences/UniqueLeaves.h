// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSData.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace kestova {

/// The objects of a binary property list as they are met: numbered from 0 on, and those that hold
/// no others written down at once, one behind the other. Of leaves that are the same bytes there is
/// one.
///
/// It holds bytes and numbers alone, so that no object is kept or asked again that was written.
class UniqueLeaves {
 public:
  /// Forgets all objects, and keeps the room for them.
  void clear();

  /// Makes room for so many objects more.
  void expect(std::size_t objects);

  /// Room for so many bytes more of the leaf that comes next. Valid until the next call.
  char* extend(std::size_t size) { return reinterpret_cast<char*>(bytes_->extend(size)); }

  /// Ends the leaf. Answers the number of the first one like it.
  std::size_t addLeaf();

  /// Counts an object that is no leaf. Answers its number.
  std::size_t addOther();

  /// How many objects there are, leaves and others.
  std::size_t count() const noexcept { return objects_.size(); }

  /// All leaves in the order of their numbers. Valid until the next one begins.
  std::string_view bytes() const noexcept {
    return {reinterpret_cast<const char*>(bytes_->bytes()), bytes_->length()};
  }

  /// Where in these bytes an object begins; of one that is no leaf, where the next leaf does.
  std::size_t placeOf(std::size_t number) const noexcept { return objects_[number].place; }

 private:
  static constexpr std::size_t kFewestSlots = 16;

  /// `hash` says nothing where the object is no leaf.
  struct Object {
    std::size_t place;
    std::size_t hash;
  };

  bool isLike(std::size_t number, std::string_view leaf) const noexcept;
  std::size_t slotFor(std::string_view leaf, std::size_t hash) const noexcept;
  void keepHalfEmpty(std::size_t leaves);

  Ref<NSMutableData> bytes_ = NSMutableData::data();
  /// Where the leaf that comes next begins.
  std::size_t end_ = 0;
  std::vector<Object> objects_;
  std::size_t leaves_ = 0;
  /// A hash table of numbers, 0 standing for none and each number for the one below it. Its size is
  /// a power of two.
  std::vector<std::size_t> slots_ = std::vector<std::size_t>(kFewestSlots);
};

}  // namespace kestova
