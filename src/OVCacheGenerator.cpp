// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVCacheGenerator.h>
#include <KestovaPlatform/Class.h>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVCacheGenerator)

}  // namespace kestova
