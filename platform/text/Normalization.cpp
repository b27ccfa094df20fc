// SPDX-License-Identifier: Apache-2.0
#include "text/Normalization.h"

#include <KestovaPlatform/Contract.h>

namespace kestova {
namespace {

const icu::Normalizer2* instance(NormalizationForm form, UErrorCode& status) {
  switch (form) {
    case NormalizationForm::C:
      return icu::Normalizer2::getNFCInstance(status);
    case NormalizationForm::D:
      return icu::Normalizer2::getNFDInstance(status);
    case NormalizationForm::KC:
      return icu::Normalizer2::getNFKCInstance(status);
    case NormalizationForm::KD:
      return icu::Normalizer2::getNFKDInstance(status);
  }
  return nullptr;
}

}  // namespace

const icu::Normalizer2& normalizerTo(NormalizationForm form) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* normalizer = instance(form, status);
  require(U_SUCCESS(status) != 0, "ICU knows the normalization forms");
  return *normalizer;
}

icu::UnicodeString normalized(const icu::UnicodeString& text, NormalizationForm form) {
  UErrorCode status = U_ZERO_ERROR;
  auto result = normalizerTo(form).normalize(text, status);
  require(U_SUCCESS(status) != 0, "ICU can normalize a text");
  return result;
}

}  // namespace kestova
