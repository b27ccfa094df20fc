// SPDX-License-Identifier: Apache-2.0
// Bytes are refused with a reason, or read: then always as the same values, whatever is mutable.
#include <KestovaPlatform/NSPropertyListSerialization.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace kestova;

namespace {

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

id read(const Ref<NSData>& data, NSUInteger options) {
  NSPropertyListFormat format{};
  Ref<NSError> error;
  const id value = NSPropertyListSerialization::propertyListWithData_options_format_error(
      data, options, &format, &error);
  require((value != nullptr) == (format == NSPropertyListXMLFormat_v1_0));
  require((value == nullptr) == (error != nullptr));
  require(!error || error->localizedDescription()->length() > 0);
  return value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const auto data = NSData::dataWithBytes_length(bytes, size);
  const id value = read(data, NSPropertyListImmutable);
  for (const NSUInteger options :
       {NSPropertyListMutableContainers, NSPropertyListMutableContainersAndLeaves}) {
    require(isEqualOrBothNull(value, read(data, options)));
  }
  if (value) {
    require(value->description() != nullptr);
  }
  return 0;
}
