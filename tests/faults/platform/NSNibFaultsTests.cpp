// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/NSNib.h>
#include <KestovaPlatform/NSURL.h>
#include <gtest/gtest.h>

#include <string>

#include "AllocationFaults.h"
#include "InterfaceFiles.h"
#include "PropertyLists.h"
#include "TemporaryFolder.h"

using namespace kestova;
using namespace kestova::testing;

namespace {

/// Two fields that refer to each other, one of which the owner refers to.
std::string circle() {
  return interfaceFile(
      formField("a", "<key>title</key><string>A title too long for its place</string>") +
          formField("b"),
      interfaceConnection("a", "next", "b") + interfaceConnection("b", "next", "a") +
          interfaceConnection("owner", "next", "a"));
}

}  // namespace

TEST(NSNibFaults, AFileThatFindsNoMemoryIsReadWholeOrNotAtAll) {
  const auto data = dataOfText(circle());
  Ref<NSNib> nib;
  const int refused = walkAllocations(
      [&] {
        nib = nullptr;
        nib = NSNib::initWithNibData(data);
      },
      [&](bool threw) { EXPECT_EQ(nib == nullptr, threw); });
  EXPECT_GT(refused, 10);
}

TEST(NSNibFaults, ObjectsThatFindNoMemoryAreAllTakenBack) {
  const auto nib = NSNib::initWithNibData(dataOfText(circle()));
  const auto owner = make<FormField>();
  Ref<NSArray> objects;
  const int refused = walkAllocations(
      [&] {
        objects = nullptr;
        EXPECT_TRUE(nib->instantiateWithOwner_topLevelObjects(owner, &objects));
      },
      [&](bool threw) {
        EXPECT_EQ(objects == nullptr, threw);
        EXPECT_EQ(owner->next() == nullptr, threw);
        EXPECT_EQ(FormField::alive(), threw ? 1 : 3);
        if (objects) {
          owner->next()->setNext(nullptr);
          owner->setNext(nullptr);
          for (const id& object : objects) {
            object->release();
          }
          objects = nullptr;
        }
        EXPECT_EQ(FormField::alive(), 1);
      });
  EXPECT_GT(refused, 4);
}

TEST(NSNibFaults, AFileThatCannotBeReadIsToldByItsReason) {
  const TemporaryFolder folder;
  const auto url = NSURL::fileURLWithPath_isDirectory(folder.write("a.nib", circle()), false);
  const auto before = openDescriptors();
  Ref<NSNib> nib;
  Ref<NSError> error;
  const int failed = walkFaults(
      FaultyCall::read, Fault::failing(EIO), FaultyThreads::own,
      [&] {
        error = nullptr;
        nib = NSNib::initWithContentsOfURL(url, &error);
      },
      [&](bool met) {
        EXPECT_EQ(nib == nullptr, met);
        EXPECT_EQ(error ? error->code() : 0, met ? NSInteger{NSFileReadUnknownError} : 0);
        EXPECT_EQ(openDescriptors(), before);
      });
  EXPECT_EQ(failed, 2);
}
