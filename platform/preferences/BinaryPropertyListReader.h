// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

#include "preferences/BinaryPropertyListItem.h"
#include "preferences/PropertyListObjects.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kestova {

/// Reads one property list in the binary format: one object per reading, on one thread.
///
/// Objects are made when something refers to them, and once; only with mutable containers or leaves
/// each use of these is an object of its own. Whether a list is read does not depend on that, but
/// for the bytes that mutable leaves take.
class BinaryPropertyListReader {
 public:
  static bool accepts(std::span<const std::byte> bytes);

  /// Reads with a reader of its own; `options` is one of NSPropertyListMutabilityOptions. Throws a
  /// PropertyListFault.
  static id read(std::span<const std::byte> bytes, NSUInteger options);

 private:
  /// What is known of an object of the file. Small, since a file may claim one for each of its
  /// bytes.
  struct Slot {
    /// Null until it is made; for a container that is made for each use, always. The list holds it,
    /// or `kept_` does.
    NSObject* object = nullptr;
    /// Of a container, how many objects there are in it at all levels; of a leaf, its bytes.
    std::uint64_t size : 48 = 0;
    /// How many containers lie in each other from this object down; 0 for a leaf.
    std::uint64_t height : 15 = 0;
    std::uint64_t isOpen : 1 = 0;
  };

  /// A container of which not all objects are read. A dictionary's keys come one by one with them,
  /// so that what is looked up together lies together.
  struct OpenContainer {
    std::size_t number;  // of its slot
    BinaryKind kind;
    std::span<const std::byte> keyReferences;  // to what is still to come
    std::span<const std::byte> references;
    HashedKeys keys;
    std::vector<id> objects;
    std::size_t height;
    std::uint64_t unfoldedBefore;
  };

  BinaryPropertyListReader(std::span<const std::byte> bytes, NSUInteger options);

  id run();
  void checkVersion() const;
  std::size_t readTrailer();

  std::size_t placeOf(std::span<const std::byte> bytes) const;
  BinaryPropertyListItem itemOf(std::size_t number, std::size_t place) const;
  std::size_t takeReference(std::span<const std::byte>& references) const;
  id takeKey(std::span<const std::byte>& references);

  void visitNext(OpenContainer& container);
  void visit(std::size_t number, std::size_t place);
  id make(std::size_t number, BinaryPropertyListItem& item);
  id use(id leaf);
  void reuse(const Slot& known, std::size_t place);
  void add(id object, std::size_t height);

  void open(std::size_t number, BinaryPropertyListItem& item);
  void openUID(OpenContainer& container, BinaryPropertyListItem& item);
  void openReferences(OpenContainer& container, BinaryPropertyListItem& item);
  void close();
  id containerOf(OpenContainer& closed);

  void checkNesting(std::size_t height, std::size_t place) const;
  void unfold(std::uint64_t objects, std::size_t place);
  void spend(std::uint64_t bytes, std::size_t place);

  const std::span<const std::byte> bytes_;
  const PropertyListObjects objects_;

  /// What stands before the offset table, header and objects.
  std::span<const std::byte> objectBytes_;
  std::span<const std::byte> offsets_;
  std::size_t offsetSize_ = 0;
  std::size_t referenceSize_ = 0;

  std::vector<Slot> slots_;
  std::vector<OpenContainer> open_;
  /// What was made and is not in the list itself.
  std::vector<id> kept_;
  /// How many objects there are in the list up to here, and how many bytes of texts and data were
  /// made for it.
  std::uint64_t unfolded_ = 0;
  std::uint64_t spent_ = 0;
  id top_;
};

}  // namespace kestova
