// SPDX-License-Identifier: Apache-2.0
// Any text is refused or read as a count, in either storage the same, and every count is written as
// a text with a unit.
#include <KestovaFoundation/OVByteFormatter.h>
#include <KestovaPlatform/NSNumber.h>

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

/// Null where the text is refused.
id countIn(const Ref<NSString>& text) {
  id count;
  Ref<NSString> problem;
  const bool isRead =
      OVByteFormatter::init()->getObjectValue_forString_errorDescription(&count, text, &problem);
  require(isRead == (count != nullptr) && isRead == (problem == nullptr));
  return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto text = NSString::stringWithUTF8String({reinterpret_cast<const char*>(data), size});
  if (!text) {
    return 0;
  }
  const id count = countIn(text);
  require(isEqualOrBothNull(count, countIn(NSString::stringWithUTF16Storage(text->utf16()))));
  if (count) {
    require(countIn(OVByteFormatter::init()->stringForObjectValue(count)) != nullptr);
  }
  return 0;
}
