// SPDX-License-Identifier: Apache-2.0
// Text in UTF-8 and file names of any bytes come back as they were.
#include <KestovaPlatform/NSString.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace kestova;

namespace {

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

void roundTripText(std::string_view bytes) {
  const auto text = NSString::stringWithUTF8String(bytes);
  if (!text) {
    return;
  }
  require(text->UTF8String() == bytes);
  require(text->displayUTF8() == bytes);
  const auto units = NSString::stringWithUTF16Storage(text->utf16());
  require(units->isEqual(text) && units->hash() == text->hash());
  require(units->UTF8String() == bytes);
}

void roundTripFileName(std::string_view bytes) {
  const auto name = NSString::stringWithFileSystemRepresentation(bytes);
  require(name->fileSystemRepresentation() == bytes);
  require(name->UTF8String().has_value() == (NSString::stringWithUTF8String(bytes) != nullptr));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(bytes), size);
  roundTripText(input);
  roundTripFileName(input.substr(0, input.find('\0')));
  return 0;
}
