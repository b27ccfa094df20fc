// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSString.h>

#include "text/ICUText.h"
#include "text/Normalization.h"

namespace kestova {
namespace {

/// ASCII is in every form already.
Ref<NSString> inForm(const NSString& text, NormalizationForm form) {
  if (text.isEightBit()) {
    return text.description();
  }
  return unitsOf(normalized(icuText({text.utf16Characters(), text.length()}), form));
}

}  // namespace

Ref<NSString> NSString::precomposedStringWithCanonicalMapping() const {
  return inForm(*this, NormalizationForm::C);
}

Ref<NSString> NSString::decomposedStringWithCanonicalMapping() const {
  return inForm(*this, NormalizationForm::D);
}

Ref<NSString> NSString::precomposedStringWithCompatibilityMapping() const {
  return inForm(*this, NormalizationForm::KC);
}

Ref<NSString> NSString::decomposedStringWithCompatibilityMapping() const {
  return inForm(*this, NormalizationForm::KD);
}

}  // namespace kestova
