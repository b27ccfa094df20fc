// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSEnumerator.h>

#include <utility>
#include <vector>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSEnumerator)

Ref<NSArray> NSEnumerator::allObjects() {
  std::vector<id> objects;
  while (id object = nextObject()) {
    objects.push_back(std::move(object));
  }
  return NSArray::arrayWithObjects(std::move(objects));
}

}  // namespace kestova
