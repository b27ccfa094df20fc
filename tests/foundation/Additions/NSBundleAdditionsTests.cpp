// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSBundleAdditions.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "InterfaceFiles.h"
#include "TemporaryFolder.h"

namespace kestova {
namespace {

using testing::FormField;
using testing::formField;
using testing::interfaceConnection;
using testing::interfaceFile;

/// A form of two fields, of which the first is the owner's next one, as it lies in a folder and
/// beside this program.
class NSBundleAdditionsTests : public ::testing::Test {
 protected:
  NSBundleAdditionsTests() {
    const std::string form =
        interfaceFile(formField("a") + formField("b"), interfaceConnection("owner", "next", "a"));
    path_ = folder_.write("Form.nib", form).c_str();
    folder_.write("Wrong.nib", interfaceFile(formField("a"), interfaceConnection("a", "b", "a")));
    std::ofstream(inMainBundle_) << form;
  }
  ~NSBundleAdditionsTests() override {
    std::filesystem::remove(inMainBundle_);
    owner_ = nullptr;
    EXPECT_EQ(FormField::alive(), 0);
  }

  /// What a call that answers a truth value leaves behind: two objects that live on without their
  /// array, each by the caller's own count.
  void expectExtraCounts(bool isDone, Ref<NSArray>& objects) {
    ASSERT_TRUE(isDone);
    ASSERT_EQ(objects->count(), 2U);
    const auto first = cast<FormField>(objects->objectAtIndex(0));
    const auto second = cast<FormField>(objects->objectAtIndex(1));
    EXPECT_EQ(owner_->next(), first);
    objects = nullptr;
    owner_->setNext(nullptr);
    EXPECT_EQ(first->retainCount(), 2U);
    EXPECT_EQ(second->retainCount(), 2U);
    first->release();
    second->release();
  }

  /// What a call that answers an array leaves behind: it is their only owner but for the owner's
  /// own property.
  void expectNoExtraCounts(Ref<NSArray> objects) {
    ASSERT_NE(objects, nullptr);
    ASSERT_EQ(objects->count(), 2U);
    EXPECT_EQ(owner_->next(), objects->objectAtIndex(0));
    EXPECT_EQ(owner_->next()->retainCount(), 2U);
    EXPECT_EQ(FormField::alive(), 3);
    owner_->setNext(nullptr);
    objects = nullptr;
    EXPECT_EQ(FormField::alive(), 1) << "the owner";
  }

  testing::TemporaryFolder folder_;
  const std::string name_ = "Form of " + std::to_string(::getpid());
  const Ref<NSString> nameInMainBundle_ = name_;
  const std::string inMainBundle_ =
      NSBundle::mainBundle()->bundlePath()->fileSystemRepresentation() + "/" + name_ + ".nib";
  Ref<NSBundle> bundle_ = NSBundle::bundleWithPath(folder_.path().c_str());
  Ref<NSString> path_;
  Ref<FormField> owner_ = make<FormField>();
};

// Shows: ov_loadNibNamed_owner_topLevelObjects, loadNibNamed_owner_topLevelObjects, loadNibFile_owner_topLevelObjects
TEST_F(NSBundleAdditionsTests, WithATruthValueTheCallerKeepsACountOfEachObject) {
  Ref<NSArray> objects;
  bool isDone = ov_loadNibNamed_owner_topLevelObjects(bundle_, "Form", owner_, &objects);
  expectExtraCounts(isDone, objects);
  isDone = loadNibNamed_owner_topLevelObjects(nameInMainBundle_, owner_, &objects);
  expectExtraCounts(isDone, objects);
  isDone = loadNibFile_owner_topLevelObjects(path_, owner_, &objects);
  expectExtraCounts(isDone, objects);
}

// Shows: loadWithTopLevelObjectsNibNamed_owner, loadWithTopLevelObjectsNibFile_owner, loadWithTopLevelObjectsNibNamed_bundle_owner
TEST_F(NSBundleAdditionsTests, WithAnArrayItIsTheOnlyOwnerOfTheObjects) {
  expectNoExtraCounts(loadWithTopLevelObjectsNibNamed_owner(nameInMainBundle_, owner_));
  expectNoExtraCounts(loadWithTopLevelObjectsNibFile_owner(path_, owner_));
  expectNoExtraCounts(loadWithTopLevelObjectsNibNamed_bundle_owner("Form", bundle_, owner_));
  expectNoExtraCounts(
      loadWithTopLevelObjectsNibNamed_bundle_owner(nameInMainBundle_, nullptr, owner_));
}

// Shows: ov_loadNibNamed_owner_topLevelObjects
TEST_F(NSBundleAdditionsTests, WithoutALocationTheCountsAreTheCallersAllTheSame) {
  const std::string one = interfaceFile(formField("a"), interfaceConnection("owner", "next", "a"));
  folder_.write("One.nib", one);
  EXPECT_TRUE(ov_loadNibNamed_owner_topLevelObjects(bundle_, "One", owner_));
  EXPECT_EQ(owner_->next()->retainCount(), 2U);
  owner_->next()->release();
}

// Shows: loadWithTopLevelObjectsNibNamed_bundle_owner
TEST_F(NSBundleAdditionsTests, AnOwnerIsNotNeeded) {
  EXPECT_EQ(loadWithTopLevelObjectsNibNamed_bundle_owner("Form", bundle_, nullptr)->count(), 2U);
}

// Shows: loadWithTopLevelObjectsNibNamed_owner, loadWithTopLevelObjectsNibFile_owner, loadWithTopLevelObjectsNibNamed_bundle_owner, ov_loadNibNamed_owner_topLevelObjects, loadNibNamed_owner_topLevelObjects, loadNibFile_owner_topLevelObjects
TEST_F(NSBundleAdditionsTests, AMissingFileAnswersNothing) {
  for (const Ref<NSString>& missing :
       {Ref<NSString>("Missing"), Ref<NSString>(""), Ref<NSString>()}) {
    EXPECT_EQ(loadWithTopLevelObjectsNibNamed_owner(missing, owner_), nullptr);
    EXPECT_EQ(loadWithTopLevelObjectsNibFile_owner(missing, owner_), nullptr);
    EXPECT_EQ(loadWithTopLevelObjectsNibNamed_bundle_owner(missing, bundle_, owner_), nullptr);
    Ref<NSArray> objects = NSArray::of("as it was");
    EXPECT_FALSE(ov_loadNibNamed_owner_topLevelObjects(bundle_, missing, owner_, &objects));
    EXPECT_FALSE(loadNibNamed_owner_topLevelObjects(missing, owner_, &objects));
    EXPECT_FALSE(loadNibFile_owner_topLevelObjects(missing, owner_, &objects));
    EXPECT_TRUE(objects->isEqual(NSArray::of("as it was")));
  }
}

// Shows: loadWithTopLevelObjectsNibNamed_owner, loadWithTopLevelObjectsNibNamed_bundle_owner
TEST_F(NSBundleAdditionsTests, AFileIsLookedForInItsOwnBundleOnly) {
  EXPECT_EQ(loadWithTopLevelObjectsNibNamed_owner("Form", owner_), nullptr);
  EXPECT_EQ(loadWithTopLevelObjectsNibNamed_bundle_owner(nameInMainBundle_, bundle_, owner_),
            nullptr);
}

// Shows: ov_loadNibNamed_owner_topLevelObjects, loadNibFile_owner_topLevelObjects, loadWithTopLevelObjectsNibNamed_bundle_owner
TEST_F(NSBundleAdditionsTests, AWrongFileAnswersNothingAndLeavesNothing) {
  Ref<NSArray> objects = NSArray::of("as it was");
  EXPECT_FALSE(ov_loadNibNamed_owner_topLevelObjects(bundle_, "Wrong", owner_, &objects));
  EXPECT_FALSE(
      loadNibFile_owner_topLevelObjects(folder_.at("Wrong.nib").c_str(), owner_, &objects));
  EXPECT_TRUE(objects->isEqual(NSArray::of("as it was")));
  EXPECT_EQ(loadWithTopLevelObjectsNibNamed_bundle_owner("Wrong", bundle_, owner_), nullptr);
  EXPECT_EQ(FormField::alive(), 1) << "the owner";
}

}  // namespace
}  // namespace kestova
