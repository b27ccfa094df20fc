// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace kestova {

class NSDate;

/// Walks through a property list and has everything in it written down by a subclass, each
/// container before what it holds: one object per writing, on one thread.
///
/// What is no property list throws a PropertyListFault, and so may every hook: without the place,
/// which is added here.
class PropertyListWriter {
 public:
  PropertyListWriter(const PropertyListWriter&) = delete;
  PropertyListWriter& operator=(const PropertyListWriter&) = delete;

 protected:
  /// An object in a container, with its key where that is a dictionary: both are there for as long
  /// as the container is open.
  struct Entry {
    const NSString* key;
    NSObject* object;
  };
  using Entries = std::vector<Entry>;

  PropertyListWriter() = default;
  virtual ~PropertyListWriter() = default;

  void walk(const id& top);

  /// Lets go of what was met, and keeps the room for it.
  void forget() noexcept;

  virtual void writeString(const NSString& string) = 0;
  virtual void writeNumber(const NSNumber& number) = 0;
  virtual void writeData(const NSData& data) = 0;

  /// Seconds since the reference date, neither infinite nor NaN.
  virtual void writeDate(NSTimeInterval seconds) = 0;

  /// Called in place of `beginArray` and `beginDictionary` for a container that has been written
  /// before, as the `number`th one from 0 on. Answers whether that is enough; if not, it is written
  /// once more.
  virtual bool repeatContainer(std::size_t number) = 0;

  virtual void beginArray(std::size_t count) = 0;

  /// May give the entries another order. Answers whether they are to follow; if not, nor does
  /// `endContainer`.
  virtual bool beginDictionary(Entries& entries) = 0;

  /// Called before each object in a container; `key` is null in an array.
  virtual void beginEntry(const NSString* key) = 0;
  virtual void endContainer() = 0;

 private:
  /// A container that was met. It is held: a collection may make its members when it is asked for
  /// them, and another one must not come to the same place meanwhile.
  struct Known {
    id container;
    std::size_t number;
    /// How many objects there are in it at all levels, each counted as often as it is used.
    std::uint64_t objects = 0;
    /// How many containers lie in each other from this one down.
    std::size_t height = 1;
    bool isOpen = false;
  };

  /// What is in a container. Where that makes its members when it is asked for them, these are held
  /// here.
  struct Members {
    explicit Members(const Ref<NSArray>& array);
    explicit Members(const Ref<NSDictionary>& dictionary);

    Entries entries;
    std::vector<id> made;
  };

  /// A container on the way from the top to what is written now.
  struct OpenContainer {
    Known* known;
    Members members;
    std::size_t next;
    std::uint64_t unfoldedBefore;
  };

  void goOn();
  void visit(NSObject* object);
  void visitDate(const NSDate& date);
  void openArray(const Ref<NSArray>& array);
  void openDictionary(const Ref<NSDictionary>& dictionary);
  Known* meet(const id& container);
  void open(Known& known, Members members, std::size_t references);
  void close();
  void unfold(std::uint64_t objects) noexcept;
  void lieIn(std::size_t height) noexcept;
  void checkUnfolding() const;
  Ref<NSString> place() const;

  std::unordered_map<const NSObject*, Known> known_;
  std::vector<OpenContainer> open_;
  /// How many references there are in the containers that were met, each counted once, and in the
  /// list as it unfolds.
  std::uint64_t references_ = 0;
  std::uint64_t unfolded_ = 0;
};

}  // namespace kestova
