// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>

#include <string>

#include "AllocationFaults.h"
#include "PropertyLists.h"

using namespace kestova;
using namespace kestova::testing;

namespace {

/// Something of every kind, with a text in each storage.
id everyKind() {
  return NSDictionary::of(
      {{"text", u"Zürich und Genève"},
       {"numbers", NSArray::of(1, 2.5, true, 1 << 20)},
       {"data", NSData::dataWithBytes_length("bytes", 5)},
       {"date", NSDate::dateWithTimeIntervalSinceReferenceDate(86400)},
       {"folder", NSDictionary::of({{"empty", NSArray::array()}, {"a name", "a value"}})}});
}

class PropertyListFaults : public ::testing::TestWithParam<NSPropertyListFormat> {};

}  // namespace

TEST_P(PropertyListFaults, AListThatFindsNoMemoryIsWrittenWholeOrNotAtAll) {
  const id list = everyKind();
  const auto whole = textOfData(writePropertyList(list, GetParam()).value);
  Ref<NSData> written;
  const int refused = walkAllocations(
      [&] {
        written = nullptr;
        written = NSPropertyListSerialization::dataWithPropertyList_format_options_error(
            list, GetParam(), 0, nullptr);
      },
      [&](bool threw) { EXPECT_EQ(textOfData(written), threw ? "" : whole); });
  EXPECT_GT(refused, 0);
}

TEST_P(PropertyListFaults, AListThatFindsNoMemoryIsReadWholeOrNotAtAll) {
  const auto data = writePropertyList(everyKind(), GetParam()).value;
  for (const NSUInteger options : {NSUInteger{NSPropertyListImmutable},
                                   NSUInteger{NSPropertyListMutableContainersAndLeaves}}) {
    id list;
    const int refused = walkAllocations(
        [&] {
          list = nullptr;
          list =
              NSPropertyListSerialization::propertyListWithData_options_format_error(data, options);
        },
        [&](bool threw) {
          EXPECT_EQ(list == nullptr, threw);
          EXPECT_TRUE(threw || list->isEqual(everyKind()));
        });
    EXPECT_GT(refused, 20);
  }
}

INSTANTIATE_TEST_SUITE_P(BothFormats, PropertyListFaults,
                         ::testing::Values(NSPropertyListXMLFormat_v1_0,
                                           NSPropertyListBinaryFormat_v1_0));
