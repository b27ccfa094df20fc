// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaFoundation/OVMutableKeyPathDictionary.h>

namespace kestova {

/// A key-path dictionary whose top level finds its keys in any letter case, as an
/// OVMutableCaseInsensitiveStringDictionary does; the first key of a path must be a string. Keys
/// below the top are found in the exact case that they were stored with.
///
/// Threads: one at a time. Only the single operations of the top level are locked.
class KESTOVA_FOUNDATION_EXPORT OVMutableCaseInsensitiveKeyPathDictionary
    : public OVMutableKeyPathDictionary {
  KESTOVA_CLASS(OVMutableCaseInsensitiveKeyPathDictionary, OVMutableKeyPathDictionary)

 public:
  /// An empty one.
  static Ref<OVMutableCaseInsensitiveKeyPathDictionary> init();

 protected:
  OVMutableCaseInsensitiveKeyPathDictionary() = default;

  void setup() override;
};

}  // namespace kestova
