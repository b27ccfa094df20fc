// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/CFUUID.h>
#include <uuid/uuid.h>

namespace kestova {

CFUUIDBytes CFUUIDCreate() {
  CFUUIDBytes uuid;
  uuid_generate_random(uuid.data());
  return uuid;
}

Ref<NSString> CFUUIDCreateString(const CFUUIDBytes& uuid) {
  char text[UUID_STR_LEN];
  uuid_unparse_upper(uuid.data(), text);
  return text;
}

}  // namespace kestova
