// SPDX-License-Identifier: Apache-2.0
// Any bytes are refused or read as a list of rectangles, which is written as a text that reads as
// the same list. The tool is no library, so its units are compiled in here.
#include "../../tools/kestova/FileFailure.cpp"
#include "../../tools/kestova/RectsText.cpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace kestova::tool;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  RectList list;
  try {
    list = readRects(text, "input");
  } catch (const FileFailure&) {
    return 0;
  }
  const std::string written = textOf(list);
  const RectList same = readRects(written, "written");
  if (same.form != list.form || same.rects != list.rects || textOf(same) != written) {
    std::abort();
  }
  return 0;
}
