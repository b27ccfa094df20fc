// SPDX-License-Identifier: Apache-2.0
// Bytes are refused with a reason, or read: then as the same values whatever is mutable, and these
// are written and read back as they were, in the binary format always and in XML where it has a
// form for them.
#include <KestovaPlatform/NSPropertyListSerialization.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace kestova;

namespace {

using PropertyLists = NSPropertyListSerialization;

constexpr NSPropertyListFormat kNone{};

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

id read(const Ref<NSData>& data, NSUInteger options) {
  NSPropertyListFormat format = kNone;
  Ref<NSError> error;
  const id value =
      PropertyLists::propertyListWithData_options_format_error(data, options, &format, &error);
  require((value != nullptr) == (format != kNone));
  require((value == nullptr) == (error != nullptr));
  require(!error || error->localizedDescription()->length() > 0);
  return value;
}

Ref<NSData> write(const id& value, NSPropertyListFormat format) {
  Ref<NSError> error;
  auto data = PropertyLists::dataWithPropertyList_format_options_error(value, format, 0, &error);
  require((data == nullptr) == (error != nullptr));
  return data;
}

/// The bytes tell more than equality does, such as the types of numbers.
void roundTripBinary(const id& value) {
  const auto written = write(value, NSPropertyListBinaryFormat_v1_0);
  if (!written) {
    return;  // it shares more than its size without what nothing refers to allows
  }
  const id same = read(written, NSPropertyListImmutable);
  require(value->isEqual(same));
  require(written->isEqual(write(same, NSPropertyListBinaryFormat_v1_0)));
}

/// Dates lose their fractions the first time, so that the values may differ and the texts must not.
void roundTripXML(const id& value) {
  const auto written = write(value, NSPropertyListXMLFormat_v1_0);
  if (written) {
    const id same = read(written, NSPropertyListImmutable);
    require(same != nullptr);
    require(written->isEqual(write(same, NSPropertyListXMLFormat_v1_0)));
  }
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
    roundTripBinary(value);
    roundTripXML(value);
  }
  return 0;
}
