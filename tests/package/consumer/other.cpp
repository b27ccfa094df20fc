// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/KestovaFoundation.h>
#include <KestovaPlatform/KestovaPlatform.h>

kestova::Ref<kestova::NSString> greeting() {
  return kestova::NSString::stringWithFormat("%@, %d", "Grüße", 2);
}
