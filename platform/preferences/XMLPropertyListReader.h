// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>

#include "preferences/PropertyListObjects.h"

#include <expat.h>

#include <cstddef>
#include <exception>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kestova {

/// Reads one property list in the XML format: one object per reading, on one thread.
///
/// The XML itself is the parser's work; here is what may stand where. The parser calls back from C,
/// through which nothing is thrown: the first fault or exception is kept and stops it.
class XMLPropertyListReader {
 public:
  /// Whether the bytes begin as XML does, in one of the encodings that the parser knows.
  static bool accepts(std::span<const std::byte> bytes);

  /// Reads with a reader of its own; `options` is one of NSPropertyListMutabilityOptions. Throws a
  /// PropertyListFault.
  static id read(std::span<const std::byte> bytes, NSUInteger options);

 private:
  struct Element;

  /// An element that has begun and not ended, with the values that it holds so far. In a dictionary
  /// there are as many keys as objects, or one more.
  struct OpenElement {
    const Element* element;
    HashedKeys keys;
    std::vector<id> objects;
  };

  struct ParserDeleter {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
  };

  explicit XMLPropertyListReader(NSUInteger options);

  void setHandlers();
  id run(std::span<const std::byte> bytes);
  bool parse(std::span<const std::byte> bytes);

  void begin(std::string_view name);
  void add(std::string_view text);
  void end();

  bool admits(const Element& element) const;
  id valueOf(OpenElement& closed) const;
  void fail(const Ref<NSString>& fault);

  template <class Step>
  static void guarded(void* reader, const Step& step);

  std::unique_ptr<XML_ParserStruct, ParserDeleter> parser_;
  const PropertyListObjects objects_;
  std::vector<OpenElement> open_;
  std::string text_;  // of the innermost element, which holds no others
  id top_;
  Ref<NSString> problem_;
  std::exception_ptr exception_;
};

}  // namespace kestova
