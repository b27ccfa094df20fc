// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "InputFile.h"

#include <KestovaFoundation/Additions/NSStringWordLineCounter.h>
#include <KestovaPlatform/CFStringEncodings.h>

#include <cstdint>

namespace kestova::tool {

/// What there is to tell of a text file: the encoding that is guessed, and the
/// library's `lineEnding`, `lineCount` and `wordCount` of the text that it
/// decodes to.
struct TextFigures {
  CFStringEncoding encoding = kCFStringEncodingInvalidId;
  OVLineEnding lineEnding = OVLineEndingLF;
  std::uint64_t lines = 0;
  std::uint64_t words = 0;
  std::uint64_t bytes = 0;
};

/// Reads the file three times, in pieces; what cannot be read again is kept in
/// a temporary file. Throws FileFailure, also where the bytes are not the
/// encoding that their mark tells.
TextFigures figuresOf(InputFile& file);

}  // namespace kestova::tool
