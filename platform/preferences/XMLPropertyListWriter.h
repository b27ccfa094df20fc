// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "preferences/PropertyListWriter.h"

#include <string>
#include <string_view>
#include <vector>

namespace kestova {

/// Writes one property list in the XML format: the keys of a dictionary in their order, a tab for
/// each container around.
///
/// What XML has no form for is refused: control characters, unpaired surrogates and the like in
/// texts, and dates outside the years 0 to 9999. Of dates the fraction of the second is cut off.
class XMLPropertyListWriter final : private PropertyListWriter {
 public:
  /// Writes with a writer of its own. Throws a PropertyListFault.
  static Ref<NSData> write(const id& propertyList);

 private:
  struct Tags;

  void writeString(const NSString& string) override;
  void writeNumber(const NSNumber& number) override;
  void writeData(const NSData& data) override;
  void writeDate(NSTimeInterval seconds) override;
  bool repeatContainer(std::size_t number) override;
  void beginArray(std::size_t count) override;
  bool beginDictionary(Entries& entries) override;
  void beginEntry(const NSString* key) override;
  void endContainer() override;

  void beginContainer(std::string_view name, std::size_t count);
  void putElement(const Tags& tags, std::string_view text);
  void putText(const Tags& tags, const NSString& text);
  void putUTF8(const Tags& tags, std::string_view utf8);
  void putLine(std::string_view line);
  std::string& indent();
  void flush();

  explicit XMLPropertyListWriter(const id& top) : top_(top) {}

  const id& top_;
  /// Whether it is known how much the list comes to when what is shared is written as often.
  bool isSurveyed_ = false;
  const Ref<NSMutableData> data_ = NSMutableData::data();
  /// The lines that are not in the data yet.
  std::string output_;
  /// The names of the open containers; an empty one has none, since it is complete already.
  std::vector<std::string_view> open_;
};

}  // namespace kestova
