// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVBinaryDataStream.h>
#include <KestovaFoundation/OVBinaryFileStream.h>
#include <KestovaFoundation/OVBinaryStream.h>
#include <KestovaPlatform/Class.h>
#include <gtest/gtest.h>

namespace kestova {
namespace {

// Shows: initWithFilePath
TEST(OVBinaryStreamTests, TheFamilyGivesAFileStreamForAPath) {
  EXPECT_NE(cast<OVBinaryFileStream>(OVBinaryStream::initWithFilePath("/tmp/none")), nullptr);
}

// Shows: initWithData
TEST(OVBinaryStreamTests, TheFamilyGivesAMemoryStreamForABuffer) {
  const auto buffer = NSMutableData::data();
  const auto stream = OVBinaryStream::initWithData(buffer);
  EXPECT_NE(cast<OVBinaryDataStream>(stream), nullptr);
  EXPECT_EQ(stream->data(), buffer);
}

// Shows: OVBinaryStream
TEST(OVBinaryStreamTests, TheClassesAreKnownByName) {
  for (const char* name : {"OVBinaryStream", "OVBinaryDataStream", "OVBinaryFileStream"}) {
    ASSERT_NE(NSClassFromString(name), nullptr) << name;
    EXPECT_EQ(NSClassFromString(name)->name(), name);
  }
  EXPECT_EQ(NSClassFromString("OVBinaryFileStream")->superclass(),
            NSClassFromString("OVBinaryStream"));
}

// Shows: OVBinaryStreamEndOfStreamException, OVBinaryStreamReadErrorException
TEST(OVBinaryStreamTests, ExceptionNamesAreTheirOwnText) {
  EXPECT_EQ(OVBinaryStreamEndOfStreamException.string(), "OVBinaryStreamEndOfStreamException");
  EXPECT_EQ(OVBinaryStreamReadErrorException.string(), "OVBinaryStreamReadErrorException");
}

}  // namespace
}  // namespace kestova
