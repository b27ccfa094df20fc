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
  std::size_t (*countRuns)(Text text, const ByteSet& set, bool& inRun);
};

const TextScans<char>& byteScans() noexcept;
const TextScans<char16_t>& unitScans() noexcept;

}  // namespace kestova
