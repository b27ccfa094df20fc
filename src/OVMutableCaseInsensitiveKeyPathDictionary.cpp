// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVMutableCaseInsensitiveKeyPathDictionary.h>
#include <KestovaFoundation/OVMutableCaseInsensitiveStringDictionary.h>
#include <KestovaPlatform/Class.h>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVMutableCaseInsensitiveKeyPathDictionary)

Ref<OVMutableCaseInsensitiveKeyPathDictionary> OVMutableCaseInsensitiveKeyPathDictionary::init() {
  return initialised<OVMutableCaseInsensitiveKeyPathDictionary>();
}

void OVMutableCaseInsensitiveKeyPathDictionary::setup() {
  _dictClass = &OVMutableCaseInsensitiveStringDictionary::staticClass();
  _rootDict = _dictClass->make();
}

}  // namespace kestova
