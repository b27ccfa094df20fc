// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "preferences/PropertyListWriter.h"

namespace kestova {

/// Walks through a property list without writing anything, each container once however often it is
/// used.
class PropertyListSurvey final : private PropertyListWriter {
 public:
  /// Throws a PropertyListFault, with its place, where the list is none or unfolds to too much.
  static void check(const id& propertyList) { PropertyListSurvey().walk(propertyList); }

 private:
  void writeString(const NSString&) override {}
  void writeNumber(const NSNumber&) override {}
  void writeData(const NSData&) override {}
  void writeDate(NSTimeInterval) override {}
  bool repeatContainer(std::size_t) override { return true; }
  void beginArray(std::size_t) override {}
  bool beginDictionary(Entries&) override { return true; }
  void beginEntry(const NSString*) override {}
  void endContainer() override {}
};

}  // namespace kestova
