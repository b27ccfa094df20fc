// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace kestova {

/// \file
/// What TextDecoder and TextEncoder have in common.

/// Whether more of a text comes behind a piece of it.
enum class TextInput { kGoesOn, kEnds };

/// Why a step of a conversion ended.
enum class ConversionEnd {
  kInputUsed,   ///< nothing is left but part of a character, to be given again with what follows
  kBufferFull,  ///< the rest of the input is to be given again, and room for what becomes of it
  kRefused,     ///< what was read last is malformed, or is no character of the encoding
};

/// How far a step of decoding came. What is refused begins `refusedBytes` before the end of what
/// was read, which may have been in an earlier step.
struct DecodedPiece {
  std::size_t bytesRead = 0;
  std::size_t unitsWritten = 0;
  ConversionEnd end = ConversionEnd::kInputUsed;
  std::size_t refusedBytes = 0;
};

/// How far a step of encoding came. `unitsRead` includes the `refusedUnits`, one or two.
struct EncodedPiece {
  std::size_t unitsRead = 0;
  std::size_t bytesWritten = 0;
  ConversionEnd end = ConversionEnd::kInputUsed;
  std::size_t refusedUnits = 0;
};

}  // namespace kestova
