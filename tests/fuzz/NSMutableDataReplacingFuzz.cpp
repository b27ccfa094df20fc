// SPDX-License-Identifier: Apache-2.0
// Replacing bytes gives what its steps give one by one, for any range, pattern and replacement.
#include <KestovaFoundation/Additions/NSDataAdditions.h>
#include <KestovaFoundation/Additions/NSMutableDataAdditions.h>

#include "../support/PlainReplacing.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

using namespace kestova;
using kestova::testing::PlainReplacing;

namespace {

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

/// Takes values off the front of the input.
class Choices {
 public:
  Choices(const std::uint8_t* bytes, std::size_t size) : bytes_(bytes), size_(size) {}

  std::size_t below(std::size_t limit) {
    std::size_t value = 0;
    for (int index = 0; index < 2 && size_ > 0; ++index, --size_) {
      value = value << 8 | *bytes_++;
    }
    return limit == 0 ? 0 : value % limit;
  }

  std::string_view rest() const { return {reinterpret_cast<const char*>(bytes_), size_}; }

 private:
  const std::uint8_t* bytes_;
  std::size_t size_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  Choices choices(bytes, size);
  const std::size_t patternSize = choices.below(20);
  const std::size_t replacementSize = choices.below(20);
  const bool isGiven = choices.below(4) != 0 || replacementSize > patternSize;
  const std::size_t place = choices.below(1000);
  const std::size_t extent = choices.below(1000);
  std::string text(choices.rest());
  const std::string pattern = text.substr(0, patternSize);
  const std::string replacement =
      (text + std::string(20, '-')).substr(patternSize / 2, replacementSize);
  text.erase(0, patternSize);
  const NSUInteger location = place % (text.size() + 1);
  const NSRange range = {location, extent % (text.size() - location + 1)};

  const auto data = NSMutableData::dataWithBytes_length(text.data(), text.size());
  PlainReplacing plain{text, pattern, isGiven ? replacement.data() : nullptr, replacement.size()};
  require(rangeOfBytes_length_range(data, pattern.data(), pattern.size(), range) ==
          plain.search(range.location, range.length));
  const NSUInteger count = replaceOccurrencesOfBytes_length_withBytes_length_range(
      data, pattern.data(), pattern.size(), plain.replacement, replacement.size(), range);
  require(count == plain.replaceAll(range));
  require(std::string_view(reinterpret_cast<const char*>(data->bytes()), data->length()) ==
          plain.data);
  return 0;
}
