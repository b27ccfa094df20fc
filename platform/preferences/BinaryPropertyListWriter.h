// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "preferences/BinaryPropertyListLayout.h"
#include "preferences/PropertyListWriter.h"
#include "preferences/UniqueLeaves.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace kestova {

/// Writes one property list in the binary format.
///
/// The walk numbers the objects, of equal strings, numbers, dates and data one for all and of
/// containers each once. What holds no others is put down at once; of containers it lists what they
/// refer to, since only at the end it is known how many bytes a reference takes.
class BinaryPropertyListWriter final : private PropertyListWriter {
 public:
  /// Throws a PropertyListFault. Threads: any.
  static Ref<NSData> write(const id& propertyList);

 private:
  /// A number, truth value, date or UID: its bits, and how many bytes they take. Two are the same
  /// when all of it is: a real number is never an integer, and 0 not the real number -0.
  struct Plain {
    BinaryKind kind;
    std::size_t size;
    std::uint64_t bits;
  };

  /// A container and its part of all references.
  struct Container {
    BinaryKind kind;
    std::size_t number;
    std::size_t count;
    std::size_t firstReference;
    std::size_t references;
  };

  static Plain plainOf(const NSNumber& number);
  static Plain integer(std::int64_t value);
  static std::optional<Plain> uidOf(const Entries& entries);

  void writeString(const NSString& string) override;
  void writeNumber(const NSNumber& number) override;
  void writeData(const NSData& data) override;
  void writeDate(NSTimeInterval seconds) override;
  bool repeatContainer(std::size_t number) override;
  void beginArray(std::size_t count) override;
  bool beginDictionary(Entries& entries) override;
  void beginEntry(const NSString*) override {}
  void endContainer() override { nextReferences_.pop_back(); }

  std::size_t addPlain(const Plain& plain);
  void addContainer(BinaryKind kind, std::size_t count, std::size_t references);
  void refer(std::size_t number);

  bool isLarge() const noexcept;
  void clear();

  Ref<NSData> putDown();
  char* putObjects(char* to) const;
  char* putContainer(char* to, const Container& container) const;
  char* putOffsets(char* to, std::size_t offsetSize) const;
  std::size_t sizeOf(const Container& container) const;
  std::size_t sizeOfContainers() const;

  UniqueLeaves objects_;
  /// In the order of their numbers.
  std::vector<Container> containers_;
  /// Of each container that was met, a UID among them, the number of its object.
  std::vector<std::size_t> numbersOfContainers_;
  std::vector<std::size_t> references_;
  /// Of each open container, which of the references comes next.
  std::vector<std::size_t> nextReferences_;
  std::size_t referenceSize_ = 1;
};

}  // namespace kestova
