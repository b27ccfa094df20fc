// SPDX-License-Identifier: Apache-2.0
// Any operations on any text: the location stays inside, a failure changes nothing, and both
// storages answer alike.
#include <KestovaPlatform/NSScanner.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

using namespace kestova;

namespace {

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

/// Reads what to do from the front of the input.
class Choices {
 public:
  explicit Choices(std::string_view bytes) : bytes_(bytes) {}

  bool isEmpty() const { return bytes_.empty(); }
  std::uint8_t next() {
    const char byte = bytes_.empty() ? '\0' : bytes_.front();
    bytes_.remove_prefix(bytes_.empty() ? 0 : 1);
    return static_cast<std::uint8_t>(byte);
  }
  std::string_view nextText() {
    const auto text = bytes_.substr(0, next() % 8);
    bytes_.remove_prefix(std::min(text.size(), bytes_.size()));
    return text;
  }

 private:
  std::string_view bytes_;
};

/// What an operation answered and stored; unsuccessful ones must store nothing.
struct Outcome {
  bool succeeded = false;
  std::uint64_t bits = 0;
  Ref<NSString> text;
};

template <class Value>
Outcome numberOf(NSScanner& scanner, bool (NSScanner::*scan)(Value*)) {
  Value value{7};
  const bool succeeded = (scanner.*scan)(&value);
  require(succeeded || value == Value{7});
  Outcome outcome{succeeded, 0, nullptr};
  std::memcpy(&outcome.bits, &value, sizeof value);
  return outcome;
}

Outcome run(NSScanner& scanner, std::uint8_t operation, const Ref<NSString>& argument) {
  const auto set = NSCharacterSet::characterSetWithCharactersInString(argument);
  Outcome outcome;
  switch (operation % 15) {
    case 0:
      return numberOf(scanner, &NSScanner::scanInt);
    case 1:
      return numberOf(scanner, &NSScanner::scanInteger);
    case 2:
      return numberOf(scanner, &NSScanner::scanLongLong);
    case 3:
      return numberOf(scanner, &NSScanner::scanUnsignedLongLong);
    case 4:
      return numberOf(scanner, &NSScanner::scanHexInt);
    case 5:
      return numberOf(scanner, &NSScanner::scanHexLongLong);
    case 6:
      return numberOf(scanner, &NSScanner::scanFloat);
    case 7:
      return numberOf(scanner, &NSScanner::scanDouble);
    case 8:
      return numberOf(scanner, &NSScanner::scanHexFloat);
    case 9:
      return numberOf(scanner, &NSScanner::scanHexDouble);
    case 10:
      outcome.succeeded = scanner.scanString_intoString(argument, &outcome.text);
      break;
    case 11:
      outcome.succeeded = scanner.scanUpToString_intoString(argument, &outcome.text);
      break;
    case 12:
      outcome.succeeded = scanner.scanCharactersFromSet_intoString(set, &outcome.text);
      break;
    case 13:
      outcome.succeeded = scanner.scanUpToCharactersFromSet_intoString(set, &outcome.text);
      break;
    default:
      scanner.setCharactersToBeSkipped(operation < 128 ? set : nullptr);
      scanner.setCaseSensitive(!scanner.caseSensitive());
      return outcome;
  }
  require(outcome.succeeded == (outcome.text != nullptr));
  require(!outcome.succeeded || outcome.text->length() > 0);
  return outcome;
}

void checkStep(NSScanner& scanner, NSUInteger before, const Outcome& outcome) {
  const NSUInteger location = scanner.scanLocation();
  require(location <= scanner.string()->length());
  require(outcome.succeeded ? location > before : location == before);
  if (outcome.text) {
    const NSUInteger length = outcome.text->length();
    require(length <= location - before);
    require(outcome.text->isEqualToString(
        scanner.string()->substringWithRange({location - length, length})));
  }
}

void compare(const Outcome& a, const Outcome& b) {
  require(a.succeeded == b.succeeded && a.bits == b.bits);
  require(!a.text || a.text->isEqualToString(b.text));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(bytes), size);
  const std::size_t middle = input.find('\0');
  const auto text = NSString::stringWithFileSystemRepresentation(input.substr(0, middle));
  const auto scanner = NSScanner::scannerWithString(text);
  const auto wide = NSScanner::scannerWithString(NSString::stringWithUTF16Storage(text->utf16()));
  Choices choices(middle == input.npos ? input : input.substr(middle + 1));
  while (!choices.isEmpty()) {
    const std::uint8_t operation = choices.next();
    const auto argument = NSString::stringWithFileSystemRepresentation(choices.nextText());
    const NSUInteger before = scanner->scanLocation();
    const Outcome outcome = run(*scanner, operation, argument);
    checkStep(*scanner, before, outcome);
    compare(outcome, run(*wide, operation, argument));
    require(wide->scanLocation() == scanner->scanLocation());
    require(wide->isAtEnd() == scanner->isAtEnd());
  }
  return 0;
}
