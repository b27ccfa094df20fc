// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVCache.h>
#include <KestovaFoundation/OVCacheExpiryPolicy.h>
#include <KestovaPlatform/Class.h>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVCacheExpiryPolicy)

}  // namespace kestova
