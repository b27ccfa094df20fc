// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the programs agree on: whose preferences they are, and what stands in them.
inline constexpr const char* kPainter = "org.kestova.examples.Painter";
inline constexpr const char* kTheme = "theme";
