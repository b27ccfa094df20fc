// SPDX-License-Identifier: Apache-2.0
// Any text reads as geometry and as a range, in either storage the same; what was read is written
// as a text that reads as the same again.
#include <KestovaPlatform/NSGeometry.h>
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

void readAndWrite(const Ref<NSString>& text) {
  const auto units = NSString::stringWithUTF16Storage(text->utf16());
  const auto rect = NSStringFromRect(NSRectFromString(text));
  require(rect->isEqual(NSStringFromRect(NSRectFromString(units))));
  require(rect->isEqual(NSStringFromRect(NSRectFromString(rect))));
  const NSRange range = NSRangeFromString(text);
  require(range == NSRangeFromString(units));
  require(range == NSRangeFromString(NSStringFromRange(range)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const auto text = NSString::stringWithUTF8String({reinterpret_cast<const char*>(bytes), size});
  if (text) {
    readAndWrite(text);
    const auto point = NSStringFromPoint(NSPointFromString(text));
    const auto extent = NSStringFromSize(NSSizeFromString(text));
    require(point->isEqual(extent));
  }
  return 0;
}
