// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks a class, function or constant as part of KestovaFoundation's binary interface. Everything
/// else stays inside the shared library.
#define KESTOVA_FOUNDATION_EXPORT __attribute__((visibility("default")))
