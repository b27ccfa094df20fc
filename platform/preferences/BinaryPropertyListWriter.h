// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "collections/ObjectTable.h"
#include "preferences/BinaryPropertyListLayout.h"
#include "preferences/PropertyListWriter.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace kestova {

/// Writes one property list in the binary format.
///
/// The walk numbers the objects, of equal strings, numbers, dates and data one for all and of
/// containers each once, and lists what each container refers to; only then it is known how many
/// bytes a reference takes, and the objects are put down in the order of their numbers.
class BinaryPropertyListWriter final : private PropertyListWriter {
 public:
  /// Writes with a writer of its own. Throws a PropertyListFault.
  static Ref<NSData> write(const id& propertyList);

 private:
  /// A number, truth value, date or UID: its bits, and how many bytes they take. Two are the same
  /// when all of it is: a real number is never an integer, and 0 not the real number -0.
  struct Plain {
    BinaryKind kind;
    std::size_t size;
    std::uint64_t bits;

    friend bool operator==(const Plain&, const Plain&) = default;
  };
  struct PlainHash {
    std::size_t operator()(const Plain& plain) const noexcept;
  };

  /// A container and its part of all references.
  struct Container {
    BinaryKind kind;
    std::size_t count;
    std::size_t firstReference;
    std::size_t references;
  };

  using Item = std::variant<Plain, Ref<NSString>, Ref<NSData>, Container>;

  template <class Key, class Hash, class Equal>
  using Numbers =
      tsl::ordered_map<Key, std::size_t, Hash, Equal, std::allocator<std::pair<Key, std::size_t>>,
                       std::vector<std::pair<Key, std::size_t>>>;

  static Plain plainOf(const NSNumber& number);
  static Plain integer(std::int64_t value);
  static std::optional<Plain> uidOf(const Entries& entries);

  void writeString(const Ref<NSString>& string) override;
  void writeNumber(const NSNumber& number) override;
  void writeData(const Ref<NSData>& data) override;
  void writeDate(NSTimeInterval seconds) override;
  bool repeatContainer(std::size_t number) override;
  void beginArray(std::size_t count) override;
  bool beginDictionary(Entries& entries) override;
  void beginEntry(const Ref<NSString>&) override {}
  void endContainer() override { nextReferences_.pop_back(); }

  std::size_t addPlain(const Plain& plain);
  template <class T>
  void addRun(const Ref<T>& run);
  void addContainer(BinaryKind kind, std::size_t count, std::size_t references);
  std::size_t addItem(Item item);
  void refer(std::size_t number);

  Ref<NSData> putDown();
  void putItem(const Plain& plain);
  void putItem(const Ref<NSString>& string);
  void putItem(const Ref<NSData>& data);
  void putItem(const Container& container);
  void putHead(BinaryKind kind, std::size_t count);
  void putUnsigned(std::uint64_t value, std::size_t size);
  void putTrailer(std::size_t offsetSize, std::size_t offsetTable);

  std::vector<Item> items_;
  Numbers<id, ObjectHash, ObjectEqual> numbersOfRuns_;
  Numbers<Plain, PlainHash, std::equal_to<>> numbersOfPlains_;
  /// Of each container in the order in which they were met, the number of its item.
  std::vector<std::size_t> numbersOfContainers_;
  std::vector<std::size_t> references_;
  /// Of each open container, which of the references comes next.
  std::vector<std::size_t> nextReferences_;
  std::size_t referenceSize_ = 1;
  std::string output_;
};

}  // namespace kestova
