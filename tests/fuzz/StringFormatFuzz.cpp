// SPDX-License-Identifier: Apache-2.0
// Any format may meet any arguments: nothing is read but these.
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSString.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace kestova;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(bytes), size);
  const auto format = NSString::stringWithFileSystemRepresentation(input);
  const auto text = NSString::stringWithFormat(
      format, -43, 18446744073709551615U, 2.5, "Grüße", u"\xD800\x1F60", Ref<NSString>("größer"),
      nullptr, id(42), static_cast<const char*>(nullptr), static_cast<const void*>(&input), -1e300);
  const bool isPlain = input.find('%') == std::string_view::npos;
  if (isPlain && !text->isEqual(format)) {
    std::abort();
  }
  return 0;
}
