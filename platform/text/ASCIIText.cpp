// SPDX-License-Identifier: Apache-2.0
#include "text/ASCIIText.h"

#include <KestovaPlatform/UTF8.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace kestova {
namespace {

/// How many units are widened at first. ICU is twice as fast where a piece is the whole text, and
/// takes over ten times as long for a unit as widening does: so pieces of a text that isn't too
/// long for that grow soon.
constexpr std::int64_t kFirstPiece = 4096;
constexpr std::int64_t kGrowth = 16;
constexpr std::int64_t kLongestWhole = 32 << 20;

// In a UText of this kind `context` are the bytes, `a` is their number and `b` that of the units
// that there is room for, which are in `pExtra` at first and in memory of their own, `p`, later. A
// piece is always there and as long as it can be.

const char* bytesOf(const UText& text) { return static_cast<const char*>(text.context); }

UChar* room(const UText& text) {
  return static_cast<UChar*>(text.p != nullptr ? const_cast<void*>(text.p) : text.pExtra);
}

void U_CALLCONV freeRoom(UText* text) {
  std::free(const_cast<void*>(std::exchange(text->p, nullptr)));
}

/// Without memory pieces stay as long as they are.
void makeRoom(UText& text) {
  const std::int64_t length = std::min(kGrowth * text.b, text.a);
  if (text.a > kLongestWhole || length <= text.b) {
    return;
  }
  if (void* memory = std::malloc(static_cast<std::size_t>(length) * sizeof(UChar))) {
    freeRoom(&text);
    text.p = memory;
    text.b = static_cast<std::int32_t>(length);
  }
}

void widen(const UText& text, std::int64_t start, std::int64_t end, UChar* units) {
  const auto length = static_cast<std::size_t>(end - start);
  writeUTF16({bytesOf(text) + start, length}, {units, length});
}

void loadPiece(UText& text, std::int64_t start) {
  const std::int64_t end = std::min(start + text.b, text.a);
  widen(text, start, end, room(text));
  text.chunkContents = room(text);
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
    makeRoom(*text);
    const std::int64_t piece = text->b;
    const std::int64_t before = forward ? piece / 4 : piece - piece / 4;
    const std::int64_t lastStart = std::max<std::int64_t>(text->a - piece, 0);
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
  functions.close = freeRoom;
  return functions;
}

constexpr UTextFuncs kFunctions = functions();

}  // namespace

UText* openASCIIText(UText* text, std::string_view ascii, UErrorCode* status) {
  const auto length = static_cast<std::int64_t>(ascii.size());
  const auto units = static_cast<std::int32_t>(std::min(length, kFirstPiece));
  text = utext_setup(text, units * std::int32_t{sizeof(UChar)}, status);
  if (U_SUCCESS(*status)) {
    text->pFuncs = &kFunctions;
    text->context = ascii.data();
    text->a = length;
    text->b = units;
    loadPiece(*text, 0);
  }
  return text;
}

}  // namespace kestova
