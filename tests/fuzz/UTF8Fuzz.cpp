// SPDX-License-Identifier: Apache-2.0
// Any bytes, taken for UTF-8 and for UTF-16 in both orders, and any room for what becomes of them:
// every operation answers what the plain reading of one character at a time does. The first byte
// chooses the instruction set, the second one the room.
#include <KestovaPlatform/UTF8.h>

#include "../support/PlainUTF8.h"

#include <hwy/targets.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

using namespace kestova;
using namespace kestova::testing;

namespace {

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

/// Uses one of the instruction sets that this processor has.
void useTarget(std::uint8_t choice) {
  static const std::int64_t all = hwy::SupportedTargets();
  std::int64_t target = all;
  for (int i = choice % 8; i > 0 && (target & (target - 1)) != 0; --i) {
    target &= target - 1;
  }
  hwy::GetChosenTarget().Update(target & -target);
}

void checkUTF8(std::string_view bytes, std::size_t room) {
  const std::size_t length = plainLengthOfUTF8(bytes);
  require(wellFormedLengthOfUTF8(bytes) == length);
  require(isWellFormedUTF8(bytes) == (length == bytes.size()));
  std::vector<char16_t> buffer(room);
  const UTF16Piece any = writeUTF16(bytes, buffer);
  require(any.bytesRead <= bytes.size() && any.unitsWritten <= room);

  const auto wellFormed = bytes.substr(0, length);
  std::vector<char16_t> units(utf16LengthOfUTF8(wellFormed));
  require(writeUTF16(wellFormed, units).bytesRead == length);
  require(plainUTF8Of({units.data(), units.size()}, length).bytes == wellFormed);
}

void checkUTF16(std::u16string_view units, std::size_t room) {
  require(wellFormedLengthOfUTF16(units) == plainLengthOfUTF16(units));
  require(utf8LengthOfUTF16(units) == plainUTF8Of(units, 3 * units.size()).bytes.size());
  const PlainUTF8 expected = plainUTF8Of(units, room);
  std::vector<char> buffer(room);
  const UTF8Piece piece = writeUTF8(units, buffer);
  require(piece.unitsRead == expected.read);
  require(std::string_view(buffer.data(), piece.bytesWritten) == expected.bytes);
}

std::u16string unitsOf(std::string_view bytes, std::endian order) {
  std::u16string units;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto first = static_cast<unsigned char>(bytes[i]);
    const auto second = static_cast<unsigned char>(bytes[i + 1]);
    units.push_back(static_cast<char16_t>(order == std::endian::big ? first << 8 | second
                                                                    : second << 8 | first));
  }
  return units;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  if (size < 2) {
    return 0;
  }
  useTarget(bytes[0]);
  const std::vector<char> copy(bytes + 2, bytes + size);
  const std::string_view input(copy.data(), copy.size());
  checkUTF8(input, bytes[1]);
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    const std::u16string units = unitsOf(input, order);
    checkUTF16(units, bytes[1]);
    require(wellFormedLengthOfUTF16(input, order) == plainLengthOfUTF16(units));
  }
  return 0;
}
