// SPDX-License-Identifier: Apache-2.0
#include "text/Converter.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace kestova {
namespace {

/// Leaves the error as it is. ICU's own callback for stopping drops characters that are not to be
/// seen, such as soft hyphens and joiners, where an encoding has none.
void refuse(const void*, UConverterFromUnicodeArgs*, const UChar*, std::int32_t, UChar32,
            UConverterCallbackReason, UErrorCode*) {}

constexpr std::size_t kMostAtOnce = std::size_t{1} << 20;  // ICU counts with 32 bits

constexpr char16_t kTurned[][2] = {{0x1A, 0x7F}, {0x1C, 0x1A}, {0x7F, 0x1C}};

/// ICU's tables for code pages of DOS take the bytes 1A, 1C and 7F for the control characters that
/// they were on mainframes; everybody else reads them as ASCII.
char16_t straightened(char16_t unit) {
  for (const auto& [turned, straight] : kTurned) {
    if (unit == turned) {
      return straight;
    }
  }
  return unit;
}

char16_t turned(char16_t unit) {
  for (const auto& [turned, straight] : kTurned) {
    if (unit == straight) {
      return turned;
    }
  }
  return unit;
}

}  // namespace

std::optional<Converter> Converter::open(const char* name) {
  UErrorCode error = U_ZERO_ERROR;
  Converter result{Handle(ucnv_open(name, &error))};
  UConverter* converter = result.handle_.get();
  ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
  ucnv_setFromUCallBack(converter, refuse, nullptr, nullptr, nullptr, &error);
  if (U_FAILURE(error)) {
    return std::nullopt;
  }
  result.hasTurnedControls_ = result.findTurnedControls();
  return result;
}

Converter Converter::clone() const {
  UErrorCode error = U_ZERO_ERROR;
  Converter result{Handle(ucnv_clone(handle_.get(), &error))};
  if (U_FAILURE(error)) {
    throw std::bad_alloc();
  }
  result.hasTurnedControls_ = hasTurnedControls_;
  return result;
}

void Converter::reset() { ucnv_reset(handle_.get()); }

std::size_t Converter::maximumSize() const {
  return static_cast<std::size_t>(ucnv_getMaxCharSize(handle_.get()));
}

UErrorCode Converter::decode(std::string_view& bytes, std::span<char16_t>& buffer, bool isEnd) {
  const char* source = bytes.data();
  char16_t* target = buffer.data();
  UErrorCode error = U_ZERO_ERROR;
  ucnv_toUnicode(handle_.get(), &target, target + buffer.size(), &source, source + bytes.size(),
                 nullptr, static_cast<UBool>(isEnd), &error);
  if (hasTurnedControls_) {
    std::transform(buffer.data(), target, buffer.data(), straightened);
  }
  bytes.remove_prefix(static_cast<std::size_t>(source - bytes.data()));
  buffer = buffer.subspan(static_cast<std::size_t>(target - buffer.data()));
  return error;
}

UErrorCode Converter::encode(std::u16string_view& units, std::span<char>& buffer, bool isEnd) {
  std::array<char16_t, kPiece> copy;
  const auto piece = units.substr(0, kPiece);
  const char16_t* first = piece.data();
  if (hasTurnedControls_) {
    std::transform(piece.begin(), piece.end(), copy.begin(), turned);
    first = copy.data();
  }
  const char16_t* source = first;
  char* target = buffer.data();
  char* limit = target + std::min(buffer.size(), kMostAtOnce);
  UErrorCode error = U_ZERO_ERROR;
  ucnv_fromUnicode(handle_.get(), &target, limit, &source, source + piece.size(), nullptr,
                   static_cast<UBool>(isEnd), &error);
  units.remove_prefix(static_cast<std::size_t>(source - first));
  buffer = buffer.subspan(static_cast<std::size_t>(target - buffer.data()));
  return error;
}

std::size_t Converter::refusedBytes() const {
  std::array<char, 32> bytes{};
  auto length = static_cast<std::int8_t>(bytes.size());
  UErrorCode error = U_ZERO_ERROR;
  ucnv_getInvalidChars(handle_.get(), bytes.data(), &length, &error);
  const std::int32_t readBehind = ucnv_toUCountPending(handle_.get(), &error);
  return U_SUCCESS(error) ? static_cast<std::size_t>(length + readBehind) : 0;
}

std::size_t Converter::refusedUnits() const {
  std::array<char16_t, 32> units{};
  auto length = static_cast<std::int8_t>(units.size());
  UErrorCode error = U_ZERO_ERROR;
  ucnv_getInvalidUChars(handle_.get(), units.data(), &length, &error);
  return U_SUCCESS(error) ? static_cast<std::size_t>(length) : 0;
}

bool Converter::findTurnedControls() {
  char16_t unit = 0;
  std::string_view bytes("\x1A");
  std::span<char16_t> buffer(&unit, 1);
  decode(bytes, buffer, true);
  reset();
  return unit == 0x1C;
}

}  // namespace kestova
