// SPDX-License-Identifier: Apache-2.0
// Property lists go to other programs and come back: Python's plistlib and plistutil.
#include <KestovaFoundation/Additions/NSPropertyListSerializationAdditions.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDictionary.h>
#include <gtest/gtest.h>

#include "PropertyLists.h"
#include "TemporaryFolder.h"

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>

namespace kestova {
namespace {

bool runs(const std::string& command) {
  return std::system((command + " >/dev/null 2>&1 </dev/null").c_str()) == 0;
}

/// The list of `expected` in the Python program below.
Ref<NSDictionary> list() {
  return NSDictionary::of({
      {"yes", true},
      {"no", false},
      {"integers",
       NSArray::of(0, 1, 255, 256, 65536, 4294967296, -1, std::numeric_limits<std::int64_t>::max(),
                   std::numeric_limits<std::int64_t>::min())},
      {"unsigned", std::numeric_limits<std::uint64_t>::max()},
      {"reals", NSArray::of(1.0, 0.1, -2.5, 1e300)},
      {"float", 0.5F},
      {"date", NSDate::dateWithTimeIntervalSinceReferenceDate(725941845)},
      {"data", testing::dataOf({0, 1, 254, 255})},
      {"much data", testing::dataOfText(std::string(100, 'x'))},
      {"text", "a\tb\nc <&> \"d\""},
      {"Grüße", "ä€😀"},
      {"long", std::string(300, 'y')},
      {"", ""},
      {"nested", NSArray::of(NSArray::array(), NSDictionary::dictionary(),
                             NSArray::of(NSDictionary::of({{"a", "a"}})))},
  });
}

constexpr const char* kPython = R"(
import datetime, plistlib, sys

expected = {
    "yes": True,
    "no": False,
    "integers": [0, 1, 255, 256, 65536, 2**32, -1, 2**63 - 1, -2**63],
    "unsigned": 2**64 - 1,
    "reals": [1.0, 0.1, -2.5, 1e300],
    "float": 0.5,
    "date": datetime.datetime(2024, 1, 3, 2, 30, 45),
    "data": b"\x00\x01\xfe\xff",
    "much data": b"x" * 100,
    "text": "a\tb\nc <&> \"d\"",
    "Gr\u00fc\u00dfe": "\u00e4\u20ac\U0001f600",
    "long": "y" * 300,
    "": "",
    "nested": [[], {}, [{"a": "a"}]],
}

def kinds(value):
    if isinstance(value, dict):
        return {key: kinds(each) for key, each in value.items()}
    if isinstance(value, list):
        return [kinds(each) for each in value]
    return type(value).__name__

for path in ("ours.xml", "ours.binary"):
    with open(path, "rb") as file:
        found = plistlib.load(file)
    assert found == expected, (path, found)
    assert kinds(found) == kinds(expected), (path, kinds(found))
for path, format in (("theirs.xml", plistlib.FMT_XML), ("theirs.binary", plistlib.FMT_BINARY)):
    with open(path, "wb") as file:
        plistlib.dump(expected, file, fmt=format, sort_keys=False)
)";

class PropertyListTests : public ::testing::Test {
 protected:
  void writeOurs(const id& propertyList) const {
    ASSERT_TRUE(writePropertyList_toFile_error(propertyList, folder_.at("ours.binary")));
    const auto outcome = testing::writePropertyList(propertyList, NSPropertyListXMLFormat_v1_0);
    ASSERT_EQ(outcome.problem, "");
    folder_.write("ours.xml", testing::textOfData(outcome.value));
  }

  void expectTheirs(const id& propertyList, NSPropertyListFormat format) const {
    Ref<NSString> problem;
    const id found =
        mutablePropertyListFromFile_error(folder_.at("theirs." + nameOf(format)), &problem);
    EXPECT_EQ(problem, nullptr);
    EXPECT_TRUE(propertyList->isEqual(found)) << found;
  }

  /// Whether the command succeeds in the folder; what it says goes to this test's output.
  bool run(const std::string& command) const {
    return std::system(("cd '" + folder_.path().string() + "' && " + command).c_str()) == 0;
  }

  static std::string nameOf(NSPropertyListFormat format) {
    return format == NSPropertyListXMLFormat_v1_0 ? "xml" : "binary";
  }

  testing::TemporaryFolder folder_;
};

// Shows: writePropertyList_toFile_error, mutablePropertyListFromFile_error
TEST_F(PropertyListTests, PythonReadsAndWritesTheSameValuesInBothFormats) {
  if (!runs("python3 -c 'import plistlib'")) {
    GTEST_SKIP() << "python3 with plistlib is missing: install python3";
  }
  writeOurs(list());
  folder_.write("check.py", kPython);
  ASSERT_TRUE(run("python3 check.py"));
  for (const auto format : testing::kPropertyListFormats) {
    expectTheirs(list(), format);
  }
}

// Shows: writePropertyList_toFile_error
TEST_F(PropertyListTests, PythonWritesTheSameBytesInTheBinaryFormat) {
  if (!runs("python3 -c 'import plistlib'")) {
    GTEST_SKIP() << "python3 with plistlib is missing: install python3";
  }
  writeOurs(list());
  ASSERT_TRUE(
      run("python3 -c \"import plistlib; plistlib.dump(plistlib.load(open('ours.binary', 'rb')), "
          "open('theirs.binary', 'wb'), fmt=plistlib.FMT_BINARY, sort_keys=False)\""));
  // Python has no floats of four bytes, so their bytes differ.
  const auto same = testing::readPropertyList(folder_.read("theirs.binary")).value;
  const auto again = testing::writePropertyList(same, NSPropertyListBinaryFormat_v1_0).value;
  EXPECT_EQ(testing::textOfData(again), folder_.read("theirs.binary"));
}

// Shows: writePropertyList_toFile_error, mutablePropertyListFromFile_error
TEST_F(PropertyListTests, PlistutilConvertsBothFormatsIntoEachOther) {
  if (!runs("command -v plistutil")) {
    GTEST_SKIP() << "plistutil is missing: install libplist-utils";
  }
  writeOurs(list());
  ASSERT_TRUE(run("plistutil -i ours.binary -o theirs.xml -f xml"));
  ASSERT_TRUE(run("plistutil -i ours.xml -o theirs.binary -f bin"));
  for (const auto format : testing::kPropertyListFormats) {
    expectTheirs(list(), format);
  }
}

}  // namespace
}  // namespace kestova
