// SPDX-License-Identifier: Apache-2.0
// A missing file on its way up: the system's error, what each layer says to it, what a person
// reads.
#include <KestovaFoundation/KestovaFoundation.h>
#include <KestovaPlatform/KestovaPlatform.h>

#include <cerrno>
#include <iostream>

using namespace kestova;

/// Answers false, and says why where somebody wants to know.
bool readRecipe(const Ref<NSString>& path, Ref<NSError>* error = nullptr) {
  const auto file = OVBinaryStream::initWithFilePath(path);
  Ref<NSError> cause;
  if (file->open_error(OVBinaryStreamOpenForReading, &cause)) {
    return true;
  }
  if (error != nullptr) {
    *error = OVMakeError([&](const Ref<OVNSErrorBuilder>& builder) {
      builder->setDomain("org.kestova.examples.Kitchen");
      builder->setCode(7);
      builder->setLocalizedDescription("The recipe could not be read.");
      builder->setLocalizedRecoverySuggestion("Choose another one.");
      builder->setUnderlyingError(cause);
      builder->setFilePath(path);
    });
  }
  return false;
}

int main() {
  Ref<NSError> error;
  if (!readRecipe("/nowhere/soup", &error)) {
    const auto told = OVWrapErrorWithDescription(error, "Nothing is cooked today.");
    std::cout << localizedDescriptionFailureReasonAndSuggestion(told) << '\n';
    const auto cause = cast<NSError>(error->userInfo()->objectForKey(NSUnderlyingErrorKey));
    std::cout << cause->domain() << ' ' << cause->code() << '\n';
  }
  std::cout << OVMakeErrorWithPOSIXError(ENOSPC)->localizedFailureReason() << '\n';
  std::cout << OVMakeStandardMacErrorString("Copy", fnfErr) << '\n';

  const auto known = NSDictionaryWithKeysAndValues("name", "soup", "cook", nullptr, "pots", 2);
  std::cout << known->count() << " facts, " << _NSFIRST(nullptr, "soup", "stew") << '\n';
}
