// SPDX-License-Identifier: Apache-2.0
#include "text/ASCIIText.h"

#include <algorithm>
#include <cstdint>

namespace kestova {
namespace {

/// How many units are widened at a time.
constexpr std::int64_t kPiece = 4096;

// In a UText of this kind `context` are the bytes, `a` is their number, and `pExtra` has room for a
// piece. The piece is always there and as long as it can be.

const char* bytesOf(const UText& text) { return static_cast<const char*>(text.context); }

void widen(const UText& text, std::int64_t start, std::int64_t end, UChar* units) {
  std::copy(bytesOf(text) + start, bytesOf(text) + end, units);
}

void loadPiece(UText& text, std::int64_t start) {
  const std::int64_t end = std::min(start + kPiece, text.a);
  auto* units = static_cast<UChar*>(text.pExtra);
  widen(text, start, end, units);
  text.chunkContents = units;
  text.chunkNativeStart = start;
  text.chunkNativeLimit = end;
  text.chunkLength = static_cast<std::int32_t>(end - start);
  text.nativeIndexingLimit = text.chunkLength;
}

std::int64_t U_CALLCONV nativeLength(UText* text) { return text->a; }

/// Loads a piece that holds the unit before or behind an index, with most of it lying in the
/// direction in which reading goes on.
UBool U_CALLCONV access(UText* text, std::int64_t index, UBool forward) {
  index = std::clamp<std::int64_t>(index, 0, text->a);
  const std::int64_t wanted = forward ? index : index - 1;
  if (wanted < text->chunkNativeStart || wanted >= text->chunkNativeLimit) {
    const std::int64_t before = forward ? kPiece / 4 : kPiece - kPiece / 4;
    const std::int64_t lastStart = std::max<std::int64_t>(text->a - kPiece, 0);
    loadPiece(*text, std::clamp<std::int64_t>(wanted - before, 0, lastStart));
  }
  text->chunkOffset = static_cast<std::int32_t>(index - text->chunkNativeStart);
  return wanted >= 0 && wanted < text->a ? 1 : 0;
}

std::int32_t U_CALLCONV extract(UText* text, std::int64_t start, std::int64_t end, UChar* units,
                                std::int32_t capacity, UErrorCode* status) {
  start = std::clamp<std::int64_t>(start, 0, text->a);
  end = std::clamp<std::int64_t>(end, start, text->a);
  widen(*text, start, std::min<std::int64_t>(end, start + capacity), units);
  access(text, end, true);
  const std::int64_t length = end - start;
  if (length < capacity) {
    units[length] = 0;
  } else if (length > capacity && U_SUCCESS(*status)) {
    *status = U_BUFFER_OVERFLOW_ERROR;
  }
  return static_cast<std::int32_t>(length);
}

std::int64_t U_CALLCONV nativeOffset(const UText* text) {
  return text->chunkNativeStart + text->chunkOffset;
}

std::int32_t U_CALLCONV unitOffset(const UText* text, std::int64_t index) {
  return static_cast<std::int32_t>(index - text->chunkNativeStart);
}

/// ICU's own clones share the text, which is never written to.
UText* U_CALLCONV clone(UText* target, const UText* source, UBool /*deep*/, UErrorCode* status) {
  target = openASCIIText(target, {bytesOf(*source), static_cast<std::size_t>(source->a)}, status);
  if (U_SUCCESS(*status)) {
    access(target, nativeOffset(source), true);
  }
  return target;
}

constexpr UTextFuncs functions() {
  UTextFuncs functions{};
  functions.tableSize = sizeof(UTextFuncs);
  functions.clone = clone;
  functions.nativeLength = nativeLength;
  functions.access = access;
  functions.extract = extract;
  functions.mapOffsetToNative = nativeOffset;
  functions.mapNativeIndexToUTF16 = unitOffset;
  return functions;
}

constexpr UTextFuncs kFunctions = functions();

}  // namespace

UText* openASCIIText(UText* text, std::string_view ascii, UErrorCode* status) {
  const auto length = static_cast<std::int64_t>(ascii.size());
  const auto room =
      static_cast<std::int32_t>(std::min(length, kPiece) * std::int64_t{sizeof(UChar)});
  text = utext_setup(text, room, status);
  if (U_SUCCESS(*status)) {
    text->pFuncs = &kFunctions;
    text->context = ascii.data();
    text->a = length;
    loadPiece(*text, 0);
  }
  return text;
}

}  // namespace kestova
