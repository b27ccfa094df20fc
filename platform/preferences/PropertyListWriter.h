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
  /// An object in a container, with its key where that is a dictionary.
  struct Entry {
    Ref<NSString> key;
    id object;
  };
  using Entries = std::vector<Entry>;

  PropertyListWriter() = default;
  virtual ~PropertyListWriter() = default;

  void walk(const id& top);

  virtual void writeString(const Ref<NSString>& string) = 0;
  virtual void writeNumber(const NSNumber& number) = 0;
  virtual void writeData(const Ref<NSData>& data) = 0;

  /// Seconds since the reference date, neither infinite nor NaN.
  virtual void writeDate(NSTimeInterval seconds) = 0;

  virtual void beginArray(std::size_t count) = 0;

  /// May give the entries another order. Answers whether they are to follow; if not, nor does
  /// `endContainer`.
  virtual bool beginDictionary(Entries& entries) = 0;

  /// Called before each object in a container; `key` is null in an array.
  virtual void beginEntry(const Ref<NSString>& key) = 0;
  virtual void endContainer() = 0;

 private:
  /// A container on the way from the top to what is written now.
  struct OpenContainer {
    id container;
    Entries entries;
    std::size_t next;
  };

  void goOn();
  void visit(const id& object);
  void visitDate(const NSDate& date);
  void openArray(const Ref<NSArray>& array);
  void openDictionary(const Ref<NSDictionary>& dictionary);
  void checkOpening(const id& container) const;
  Ref<NSString> place() const;

  std::vector<OpenContainer> open_;
};

}  // namespace kestova
