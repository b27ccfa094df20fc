// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

namespace kestova {

/// Unicode's normalization forms.
enum class NormalizationForm { C, D, KC, KD };

const icu::Normalizer2& normalizerTo(NormalizationForm form);

/// A text in one of the forms.
icu::UnicodeString normalized(const icu::UnicodeString& text, NormalizationForm form);

}  // namespace kestova
