// SPDX-License-Identifier: Apache-2.0
#include "preferences/XMLPropertyListReader.h"

#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSNumber.h>

#include "preferences/PropertyListFault.h"
#include "preferences/PropertyListText.h"

#include <algorithm>
#include <new>
#include <utility>

namespace kestova {
namespace {

/// The parser takes lengths as `int`.
constexpr std::size_t kPieceSize = std::size_t(16) << 20;

enum class Role { document, dictionary, array, key, leaf };

using Maker = id (*)(const PropertyListObjects&, std::string_view text);

}  // namespace

/// One kind of element: what it is for and, where it holds text, how that becomes an object.
struct XMLPropertyListReader::Element {
  std::string_view name;
  Role role;
  Maker make;

  bool isValue() const { return role != Role::document && role != Role::key; }
  bool holdsText() const { return make != nullptr; }

  /// Null for an unknown name.
  static const Element* named(std::string_view name);
};

namespace {

id makeKey(const PropertyListObjects&, std::string_view text) {
  return NSString::stringWithUTF8String(text);
}

id makeString(const PropertyListObjects& objects, std::string_view text) {
  return objects.leaf(NSString::stringWithUTF8String(text));
}

id makeData(const PropertyListObjects& objects, std::string_view text) {
  const auto bytes = bytesFromBase64(text);
  return bytes ? objects.leaf(NSData::dataWithBytes_length(bytes->data(), bytes->size())) : nullptr;
}

template <id (*convert)(std::string_view)>
id makeConverted(const PropertyListObjects&, std::string_view text) {
  return convert(text);
}

template <bool value>
id makeTruth(const PropertyListObjects&, std::string_view text) {
  return isBlank(text) ? id(NSNumber::numberWithBool(value)) : nullptr;
}

}  // namespace

const XMLPropertyListReader::Element* XMLPropertyListReader::Element::named(std::string_view name) {
  static constexpr Element kElements[] = {
      {"plist", Role::document, nullptr},
      {"dict", Role::dictionary, nullptr},
      {"array", Role::array, nullptr},
      {"key", Role::key, makeKey},
      {"string", Role::leaf, makeString},
      {"integer", Role::leaf, makeConverted<integerFromText>},
      {"real", Role::leaf, makeConverted<realFromText>},
      {"true", Role::leaf, makeTruth<true>},
      {"false", Role::leaf, makeTruth<false>},
      {"date", Role::leaf, makeConverted<dateFromText>},
      {"data", Role::leaf, makeData},
  };
  const auto* found = std::ranges::find(kElements, name, &Element::name);
  return found == std::end(kElements) ? nullptr : found;
}

bool XMLPropertyListReader::accepts(std::span<const std::byte> bytes) {
  constexpr std::string_view kMarksAndSpace("\xEF\xBB\xBF\xFE\xFF \t\r\n\0", 10);
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  const auto first = text.find_first_not_of(kMarksAndSpace);
  return first != std::string_view::npos && text[first] == '<';
}

id XMLPropertyListReader::read(std::span<const std::byte> bytes, NSUInteger options) {
  return XMLPropertyListReader(options).run(bytes);
}

XMLPropertyListReader::XMLPropertyListReader(NSUInteger options)
    : parser_(XML_ParserCreate(nullptr)), objects_(options) {
  if (!parser_) {
    throw std::bad_alloc();
  }
  setHandlers();
}

/// Runs what a handler does, unless a fault or exception has ended the reading.
template <class Step>
void XMLPropertyListReader::guarded(void* reader, const Step& step) {
  auto& self = *static_cast<XMLPropertyListReader*>(reader);
  if (self.problem_ || self.exception_) {
    return;
  }
  try {
    step(self);
  } catch (...) {
    self.exception_ = std::current_exception();
    XML_StopParser(self.parser_.get(), XML_FALSE);
  }
}

void XMLPropertyListReader::setHandlers() {
  const XML_Parser parser = parser_.get();
  XML_SetUserData(parser, this);
  XML_SetElementHandler(
      parser,
      [](void* reader, const XML_Char* name, const XML_Char**) {
        guarded(reader, [&](auto& self) { self.begin(name); });
      },
      [](void* reader, const XML_Char*) { guarded(reader, [](auto& self) { self.end(); }); });
  XML_SetCharacterDataHandler(parser, [](void* reader, const XML_Char* text, int length) {
    guarded(reader, [&](auto& self) { self.add({text, static_cast<std::size_t>(length)}); });
  });
  XML_SetEntityDeclHandler(
      parser, [](void* reader, const XML_Char* name, int, const XML_Char*, int, const XML_Char*,
                 const XML_Char*, const XML_Char*, const XML_Char*) {
        guarded(reader, [&](auto& self) {
          self.fail(NSString::stringWithFormat("The entity %.40s is declared", name));
        });
      });
  // With a document type that lies elsewhere, unknown entities are no error to the parser.
  XML_SetSkippedEntityHandler(parser, [](void* reader, const XML_Char* name, int) {
    guarded(reader, [&](auto& self) {
      self.fail(NSString::stringWithFormat("The entity %.40s is not known", name));
    });
  });
}

id XMLPropertyListReader::run(std::span<const std::byte> bytes) {
  const bool parsed = parse(bytes);
  if (exception_) {
    std::rethrow_exception(exception_);
  }
  if (!parsed && !problem_) {
    const XML_Error error = XML_GetErrorCode(parser_.get());
    if (error == XML_ERROR_NO_MEMORY) {
      throw std::bad_alloc();
    }
    fail(NSString::stringWithFormat("The XML can't be read: %s", XML_ErrorString(error)));
  }
  if (problem_) {
    throw PropertyListFault{problem_};
  }
  return top_;
}

/// Whether the parser came to the end without an error of its own and without having been stopped.
bool XMLPropertyListReader::parse(std::span<const std::byte> bytes) {
  for (;;) {
    const auto piece = bytes.first(std::min(bytes.size(), kPieceSize));
    bytes = bytes.subspan(piece.size());
    const bool isLast = bytes.empty();
    const auto status = XML_Parse(parser_.get(), reinterpret_cast<const char*>(piece.data()),
                                  static_cast<int>(piece.size()), isLast);
    if (status != XML_STATUS_OK || isLast) {
      return status == XML_STATUS_OK;
    }
  }
}

void XMLPropertyListReader::begin(std::string_view name) {
  const Element* element = Element::named(name);
  if (element == nullptr || !admits(*element)) {
    return fail(
        NSString::stringWithFormat("<%.40s> can't stand here", std::string(name.substr(0, 40))));
  }
  // The document and the value to come are no containers around it.
  if (!element->holdsText() && open_.size() > kDeepestNesting) {
    return fail(NSString::stringWithFormat("Containers nest more than %zu deep", kDeepestNesting));
  }
  open_.push_back({element, {}, {}});
  text_.clear();
}

bool XMLPropertyListReader::admits(const Element& element) const {
  if (open_.empty()) {
    return element.role == Role::document;
  }
  const OpenElement& parent = open_.back();
  switch (parent.element->role) {
    case Role::document:
      return element.isValue() && parent.objects.empty();
    case Role::dictionary:
      return parent.keys.size() == parent.objects.size() ? element.role == Role::key
                                                         : element.isValue();
    case Role::array:
      return element.isValue();
    case Role::key:
    case Role::leaf:
      break;
  }
  return false;
}

void XMLPropertyListReader::add(std::string_view text) {
  if (open_.back().element->holdsText()) {
    text_.append(text);
  } else if (!isBlank(text)) {
    fail("Text can't stand here");
  }
}

void XMLPropertyListReader::end() {
  OpenElement closed = std::move(open_.back());
  open_.pop_back();
  const id value = valueOf(closed);
  if (!value) {
    const char* fault =
        closed.element->holdsText() ? "What <%s> holds is not valid" : "<%s> is incomplete";
    return fail(NSString::stringWithFormat(fault, std::string(closed.element->name)));
  }
  if (open_.empty()) {
    top_ = value;
  } else if (closed.element->role == Role::key) {
    open_.back().keys.add(value);
  } else {
    open_.back().objects.push_back(value);
  }
}

/// Nothing when a value, a key's object or sense is missing.
id XMLPropertyListReader::valueOf(OpenElement& closed) const {
  auto& [element, keys, objects] = closed;
  switch (element->role) {
    case Role::document:
      return objects.empty() ? nullptr : objects.front();
    case Role::dictionary:
      return keys.size() == objects.size() ? objects_.dictionary(keys, objects) : nullptr;
    case Role::array:
      return objects_.array(std::move(objects));
    case Role::key:
    case Role::leaf:
      break;
  }
  return element->make(objects_, text_);
}

void XMLPropertyListReader::fail(const Ref<NSString>& fault) {
  problem_ = NSString::stringWithFormat("%@, in line %lu.", fault,
                                        XML_GetCurrentLineNumber(parser_.get()));
  XML_StopParser(parser_.get(), XML_FALSE);
}

}  // namespace kestova
