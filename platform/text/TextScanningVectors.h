// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/TextScanning.h>

#include <cstddef>
#include <string_view>

namespace kestova {

/// How a search for the n-th match ended: where it stands, or npos, and how many there were up to
/// there.
struct NthMatch {
  std::size_t index = std::string_view::npos;
  std::size_t count = 0;
};

/// What has been counted of the bytes of a text so far, and whether the last one was in a run.
struct RunTally {
  std::size_t runs = 0;
  std::size_t bytes = 0;
  bool inRun = false;
};

/// What TextScanning.h is made of, for one kind of unit and the processor at hand. References carry
/// from piece to piece what their names say of the unit before.
template <class Unit>
struct TextScans {
  using Text = std::basic_string_view<Unit>;

  NthMatch (*nthUnit)(Text text, Unit unit, std::size_t wanted);
  /// The LF of a CR LF.
  NthMatch (*nthCRLF)(Text text, bool& afterCR, std::size_t wanted);
  /// LFs, and CRs without their partner that something follows. An LF or a CR in the very first
  /// place is neither, unless `started`.
  std::size_t (*countBreaks)(Text text, CRPartner partner, bool started, bool& afterCR);
  std::size_t (*firstBreak)(Text text);
  std::size_t (*lastBreak)(Text text);
  /// Of units, the bytes that they have in UTF-8.
  void (*countRuns)(Text text, const ByteSet& set, RunTally& tally);
};

const TextScans<char>& byteScans() noexcept;
const TextScans<char16_t>& unitScans() noexcept;

}  // namespace kestova
