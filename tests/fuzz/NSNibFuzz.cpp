// SPDX-License-Identifier: Apache-2.0
// Bytes are refused with a reason, or read; then they make objects, or none with a reason. What was
// made and handed over goes when it is given back, unless it holds itself.
#include <KestovaPlatform/NSNib.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "../support/InterfaceFiles.h"

using namespace kestova;
using testing::FormField;

namespace {

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

/// Takes every connection away, so that circles go.
void letGo(const Ref<NSArray>& objects) {
  for (const id& object : objects) {
    if (const auto field = cast<FormField>(object)) {
      field->setNext(nullptr);
      field->setTarget(nullptr);
    }
    object->release();
  }
}

void instantiate(const NSNib& nib) {
  const int before = FormField::alive();
  const auto owner = make<FormField>();
  Ref<NSArray> objects;
  Ref<NSError> error;
  const bool isDone = nib.instantiateWithOwner_topLevelObjects(owner, &objects, &error);
  require(isDone == (objects != nullptr) && isDone == (error == nullptr));
  if (isDone) {
    for (const id& object : objects) {
      require(object->retainCount() >= 2);
    }
    letGo(objects);
  } else {
    require(error->localizedDescription()->length() > 0);
    require(FormField::alive() == before + 1);
    require(!owner->next() && !owner->target() && !owner->title());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  Ref<NSError> error;
  const auto nib = NSNib::initWithNibData(NSData::dataWithBytes_length(bytes, size), &error);
  require((nib == nullptr) == (error != nullptr));
  if (nib) {
    instantiate(*nib);
  } else {
    require(error->localizedDescription()->length() > 0);
  }
  return 0;
}
