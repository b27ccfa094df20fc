// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/NSNib.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "InterfaceFiles.h"
#include "TemporaryFolder.h"

namespace kestova {
namespace {

using testing::FormField;
using testing::formField;
using testing::interfaceConnection;
using testing::interfaceFile;
using testing::interfaceObject;

Ref<NSData> dataOf(const std::string& text) {
  return NSData::dataWithBytes_length(text.data(), text.size());
}

/// A nib that must be readable.
Ref<NSNib> nibOf(const std::string& text) {
  Ref<NSError> error;
  auto nib = NSNib::initWithNibData(dataOf(text), &error);
  EXPECT_NE(nib, nullptr) << (error ? error->localizedDescription() : nullptr);
  return nib;
}

/// What is wrong with a file that can't be read.
std::string faultIn(const std::string& text) {
  Ref<NSError> error;
  EXPECT_EQ(NSNib::initWithNibData(dataOf(text), &error), nullptr);
  EXPECT_EQ(NSNib::initWithNibData(dataOf(text)), nullptr);
  EXPECT_EQ(error->domain(), NSCocoaErrorDomain);
  EXPECT_EQ(error->code(), NSFileReadCorruptFileError);
  return error->localizedDescription()->displayUTF8();
}

/// What goes wrong with one that can; nothing may be left of it.
std::string failureOf(const std::string& text, const id& owner = nullptr) {
  const int before = FormField::alive();
  Ref<NSError> error;
  Ref<NSArray> objects = NSArray::of("as it was");
  EXPECT_FALSE(nibOf(text)->instantiateWithOwner_topLevelObjects(owner, &objects, &error));
  EXPECT_FALSE(nibOf(text)->instantiateWithOwner_topLevelObjects(owner, nullptr));
  EXPECT_TRUE(objects->isEqual(NSArray::of("as it was")));
  EXPECT_EQ(FormField::alive(), before);
  EXPECT_EQ(error->domain(), NSCocoaErrorDomain);
  EXPECT_EQ(error->code(), NSFileReadCorruptFileError);
  return error->localizedDescription()->displayUTF8();
}

/// The top-level objects, with no count but the array's.
Ref<NSArray> objectsOf(const std::string& text, const id& owner = nullptr) {
  Ref<NSArray> objects;
  Ref<NSError> error;
  EXPECT_TRUE(nibOf(text)->instantiateWithOwner_topLevelObjects(owner, &objects, &error))
      << (error ? error->localizedDescription() : nullptr);
  for (const id& object : objects) {
    object->release();
  }
  return objects;
}

Ref<FormField> fieldAt(const Ref<NSArray>& objects, NSUInteger index) {
  return cast<FormField>(objects->objectAtIndex(index));
}

const std::string kTitle = "<key>title</key><string>Name</string>";
const std::string kWidth = "<key>width</key><integer>120</integer>";

class NSNibTests : public ::testing::Test {
 protected:
  ~NSNibTests() override { EXPECT_EQ(FormField::alive(), 0); }

  testing::TemporaryFolder folder_;
};

TEST_F(NSNibTests, ObjectsAreMadeOfTheirClassesWithTheirValues) {
  const auto objects = objectsOf(interfaceFile(
      formField("a", kTitle + kWidth) + interfaceObject("b", "NSMutableDictionary") +
      interfaceObject("c", "NSMutableDictionary", "<key>values</key><dict>" + kWidth + "</dict>")));
  ASSERT_EQ(objects->count(), 3U);
  EXPECT_EQ(fieldAt(objects, 0)->title(), "Name");
  EXPECT_EQ(fieldAt(objects, 0)->width(), 120);
  EXPECT_TRUE(objects->objectAtIndex(1)->isEqual(NSDictionary::dictionary()));
  EXPECT_TRUE(objects->objectAtIndex(2)->isEqual(NSDictionary::of({{"width", 120}})));
}

TEST_F(NSNibTests, ConnectionsGoBetweenObjectsAndToAndFromTheOwner) {
  const auto owner = make<FormField>();
  const auto objects = objectsOf(interfaceFile(formField("a") + formField("b"),
                                               interfaceConnection("a", "next", "b") +
                                                   interfaceConnection("b", "target", "owner") +
                                                   interfaceConnection("owner", "next", "a")),
                                 owner);
  EXPECT_EQ(fieldAt(objects, 0)->next(), fieldAt(objects, 1));
  EXPECT_EQ(fieldAt(objects, 1)->target(), owner);
  EXPECT_EQ(owner->next(), fieldAt(objects, 0));
  fieldAt(objects, 1)->setTarget(nullptr);
}

TEST_F(NSNibTests, ALaterConnectionOfTheSamePropertyCounts) {
  const auto objects = objectsOf(
      interfaceFile(formField("a") + formField("b") + formField("c"),
                    interfaceConnection("a", "next", "b") + interfaceConnection("a", "next", "c")));
  EXPECT_EQ(fieldAt(objects, 0)->next(), fieldAt(objects, 2));
}

TEST_F(NSNibTests, WithoutAnOwnerItsConnectionsAreLeftOut) {
  const auto objects =
      objectsOf(interfaceFile(formField("a"), interfaceConnection("owner", "no such key", "a") +
                                                  interfaceConnection("a", "target", "owner") +
                                                  interfaceConnection("a", "next", "a")));
  EXPECT_EQ(fieldAt(objects, 0)->target(), nullptr);
  EXPECT_EQ(fieldAt(objects, 0)->next(), fieldAt(objects, 0));
  fieldAt(objects, 0)->setNext(nullptr);
}

TEST_F(NSNibTests, ObjectsThatAreNotAtTheTopBelongToOthers) {
  const auto objects =
      objectsOf(interfaceFile(formField("a", "", "<key>topLevel</key><true/>") +
                                  formField("b", kTitle, "<key>topLevel</key><false/>") +
                                  formField("c", "", "<key>topLevel</key><false/>"),
                              interfaceConnection("a", "next", "b")));
  ASSERT_EQ(objects->count(), 1U);
  EXPECT_EQ(fieldAt(objects, 0)->next()->title(), "Name");
  EXPECT_EQ(FormField::alive(), 2) << "nobody holds the third one";
}

TEST_F(NSNibTests, EachTopLevelObjectHasACountForTheCaller) {
  const auto nib =
      nibOf(interfaceFile(formField("a") + formField("b", "", "<key>topLevel</key><false/>"),
                          interfaceConnection("a", "next", "b")));
  Ref<NSArray> objects;
  ASSERT_TRUE(nib->instantiateWithOwner_topLevelObjects(nullptr, &objects));
  FormField* field = fieldAt(objects, 0).get();
  EXPECT_EQ(field->retainCount(), 2U);
  EXPECT_EQ(field->next()->retainCount(), 1U);
  objects = nullptr;
  EXPECT_EQ(FormField::alive(), 2);
  field->release();
  EXPECT_EQ(FormField::alive(), 0);
}

TEST_F(NSNibTests, WithoutALocationTheCountIsTheCallersAllTheSame) {
  const auto owner = make<FormField>();
  ASSERT_TRUE(nibOf(interfaceFile(formField("a"), interfaceConnection("owner", "next", "a")))
                  ->instantiateWithOwner_topLevelObjects(owner, nullptr));
  EXPECT_EQ(owner->next()->retainCount(), 2U);
  owner->next()->release();
}

TEST_F(NSNibTests, EveryInstantiationMakesObjectsOfItsOwn) {
  const auto nib = nibOf(interfaceFile(formField("a", kTitle)));
  for (int turn = 0; turn < 2; ++turn) {
    Ref<NSArray> objects;
    ASSERT_TRUE(nib->instantiateWithOwner_topLevelObjects(nullptr, &objects));
    EXPECT_EQ(FormField::alive(), 1);
    objects->objectAtIndex(0)->release();
  }
}

TEST_F(NSNibTests, AFileMayDescribeNothing) {
  EXPECT_EQ(objectsOf(interfaceFile(""))->count(), 0U);
  EXPECT_EQ(
      objectsOf("<plist><dict><key>version</key><integer>1</integer></dict></plist>")->count(), 0U);
}

TEST_F(NSNibTests, BinaryFilesAreReadAsWell) {
  const auto text = dataOf(interfaceFile(formField("a", kTitle)));
  const auto binary = NSPropertyListSerialization::dataWithPropertyList_format_options_error(
      NSPropertyListSerialization::propertyListWithData_options_format_error(text, 0),
      NSPropertyListBinaryFormat_v1_0, 0);
  const auto nib = NSNib::initWithNibData(binary);
  ASSERT_NE(nib, nullptr);
  Ref<NSArray> objects;
  EXPECT_TRUE(nib->instantiateWithOwner_topLevelObjects(nullptr, &objects));
  EXPECT_EQ(fieldAt(objects, 0)->title(), "Name");
  objects->objectAtIndex(0)->release();
}

TEST_F(NSNibTests, WhatIsWrongIsToldWithItsPlace) {
  const std::string a = formField("a");
  const struct {
    std::string text;
    const char* fault;
  } rows[] = {
      {"<plist><array/></plist>", "top: This is no dictionary."},
      {"<plist><dict/></plist>", "top: \"version\" is missing."},
      {"<plist><dict><key>version</key><integer>2</integer></dict></plist>",
       "top: \"version\" is not 1."},
      {"<plist><dict><key>version</key><string>1</string></dict></plist>",
       "top: \"version\" is of the wrong kind."},
      {"<plist><dict><key>version</key><integer>1</integer><key>x</key><true/></dict></plist>",
       "top: \"x\" has no meaning here."},
      {"<plist><dict><key>version</key><integer>1</integer><key>objects</key><dict/></dict></"
       "plist>",
       "top: \"objects\" is of the wrong kind."},
      {interfaceFile("<string/>"), "objects[0]: This is no dictionary."},
      {interfaceFile(a + "<dict/>"), "objects[1]: \"id\" is missing."},
      {interfaceFile(formField("")), "objects[0]: \"id\" is empty."},
      {interfaceFile("<dict><key>id</key><string>a</string></dict>"),
       "objects[0]: \"class\" is missing."},
      {interfaceFile(interfaceObject("a", "")), "objects[0]: \"class\" is empty."},
      {interfaceFile(interfaceObject("a", "FormField", "<key>values</key><array/>")),
       "objects[0]: \"values\" is of the wrong kind."},
      {interfaceFile(formField("a", "", "<key>toplevel</key><true/>")),
       "objects[0]: \"toplevel\" has no meaning here."},
      {interfaceFile(formField("a", "", "<key>topLevel</key><string/>")),
       "objects[0]: \"topLevel\" is of the wrong kind."},
      {interfaceFile(a + formField("b") + a),
       "objects[2]: The id \"a\" is that of another object."},
      {interfaceFile(formField("owner")),
       "objects[0]: The id \"owner\" is that of another object."},
      {interfaceFile(a, "<dict/>"), "connections[0]: \"from\" is missing."},
      {interfaceFile(a, "<integer>1</integer>"), "connections[0]: This is no dictionary."},
      {interfaceFile(a, interfaceConnection("a", "next", "a") + interfaceConnection("a", "", "a")),
       "connections[1]: \"key\" is empty."},
      {interfaceFile(a, interfaceConnection("b", "next", "a")),
       "connections[0]: There is no object with the id \"b\"."},
      {interfaceFile(a, interfaceConnection("a", "next", "b")),
       "connections[0]: There is no object with the id \"b\"."},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(faultIn(row.text), row.fault);
  }
}

TEST_F(NSNibTests, WhatIsNoPropertyListIsRefusedWithItsOwnReason) {
  EXPECT_NE(faultIn(""), "");
  EXPECT_NE(faultIn("<plist><dict>"), "");
  EXPECT_NE(faultIn("bplist00"), "");
  const std::string whole = interfaceFile(formField("a", kTitle + kWidth));
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_EQ(NSNib::initWithNibData(dataOf(whole.substr(0, length))), nullptr) << length;
  }
  EXPECT_EQ(NSNib::initWithNibData(nullptr), nullptr);
}

TEST_F(NSNibTests, AFileHasAMostOfObjectsAndConnections) {
  std::string objects;
  for (int index = 0; index < 4096; ++index) {
    objects += formField(std::to_string(index));
  }
  EXPECT_EQ(objectsOf(interfaceFile(objects))->count(), 4096U);
  EXPECT_EQ(faultIn(interfaceFile(objects + formField("more"))),
            "objects: There are 4097; 4096 is the most.");
  std::string connections;
  for (int index = 0; index < 65537; ++index) {
    connections += interfaceConnection("a", "next", "b");
  }
  EXPECT_EQ(faultIn(interfaceFile(formField("a") + formField("b"), connections)),
            "connections: There are 65537; 65536 is the most.");
}

TEST_F(NSNibTests, AChainOfAllObjectsGoesInOnePiece) {
  std::string objects = formField("0");
  std::string connections;
  for (int index = 1; index < 4096; ++index) {
    objects += formField(std::to_string(index), "", "<key>topLevel</key><false/>");
    connections += interfaceConnection(std::to_string(index - 1), "next", std::to_string(index));
  }
  const auto top = objectsOf(interfaceFile(objects, connections));
  EXPECT_EQ(top->count(), 1U);
  EXPECT_EQ(FormField::alive(), 4096);
}

TEST_F(NSNibTests, ACauseWithinTheProgramIsToldWithItsPlace) {
  const std::string a = formField("a", kTitle);
  const auto owner = make<FormField>();
  const auto contains = [](const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
  };
  EXPECT_EQ(failureOf(interfaceFile(a + interfaceObject("b", "NoSuchField"))),
            "objects[1]: There is no class \"NoSuchField\".");
  EXPECT_EQ(failureOf(interfaceFile(a + interfaceObject("b", "SealedField"))),
            "objects[1]: A SealedField can't be made without arguments.");
  EXPECT_EQ(failureOf(interfaceFile(formField("a", "<key>title</key><string>refused</string>"))),
            "objects[0]: This title is refused.");
  EXPECT_EQ(failureOf(interfaceFile(a + formField("b", "<key>title</key><integer>3</integer>"))),
            "objects[1]: The property \"title\" does not take a NSNumber.");
  EXPECT_TRUE(
      contains(failureOf(interfaceFile(formField("a", "<key>width</key><string>3</string>"))),
               "objects[0]: A number is needed"));
  for (const char* key : {"heigth", "twice", "title.length", "@count"}) {
    const std::string values = std::string("<key>") + key + "</key><string>x</string>";
    const std::string failure = failureOf(interfaceFile(a + formField("b", values)));
    EXPECT_TRUE(contains(failure, "objects[1]: ") && contains(failure, key)) << failure;
    const std::string unconnected = failureOf(interfaceFile(
        a, interfaceConnection("a", "next", "a") + interfaceConnection("a", key, "a")));
    EXPECT_TRUE(contains(unconnected, "connections[1]: ") && contains(unconnected, key))
        << unconnected;
  }
  EXPECT_EQ(failureOf(interfaceFile(a, interfaceConnection("a", "title", "a"))),
            "connections[0]: The property \"title\" does not take a FormField.");
  EXPECT_TRUE(
      contains(failureOf(interfaceFile(a, interfaceConnection("owner", "width", "a")), owner),
               "connections[0]: A number is needed"));
}

TEST_F(NSNibTests, AfterAFailureTheOwnerIsAsItWas) {
  const auto owner = make<FormField>();
  const auto before = make<FormField>();
  owner->setNext(before);
  failureOf(interfaceFile(formField("a") + formField("b"),
                          interfaceConnection("owner", "next", "a") +
                              interfaceConnection("owner", "target", "b") +
                              interfaceConnection("owner", "next", "b") +
                              interfaceConnection("owner", "title", "b")),
            owner);
  EXPECT_EQ(owner->next(), before);
  EXPECT_EQ(owner->target(), nullptr);
  EXPECT_EQ(owner->title(), nullptr);
}

TEST_F(NSNibTests, AfterAFailureCirclesGo) {
  failureOf(interfaceFile(
      formField("a") + formField("b"),
      interfaceConnection("a", "next", "b") + interfaceConnection("b", "next", "a") +
          interfaceConnection("a", "target", "a") + interfaceConnection("a", "no such key", "a")));
}

TEST_F(NSNibTests, AFileIsOpenedByItsURL) {
  const auto path = folder_.write("Main.nib", interfaceFile(formField("a", kTitle)));
  EXPECT_NE(NSNib::initWithContentsOfURL(NSURL::fileURLWithPath(path.c_str())), nullptr);
}

TEST_F(NSNibTests, AFileIsFoundByNameInABundle) {
  folder_.write("Main.nib", interfaceFile(formField("a")));
  const auto bundle = NSBundle::bundleWithPath(folder_.path().c_str());
  EXPECT_NE(NSNib::initWithNibNamed_bundle("Main", bundle), nullptr);
  EXPECT_NE(NSNib::initWithNibNamed_bundle("Main.nib", bundle), nullptr);
  for (const Ref<NSString>& missing :
       {Ref<NSString>("Other"), Ref<NSString>(""), Ref<NSString>()}) {
    Ref<NSError> error;
    EXPECT_EQ(NSNib::initWithNibNamed_bundle(missing, bundle, &error), nullptr);
    EXPECT_EQ(error->code(), NSFileReadNoSuchFileError);
    EXPECT_EQ(NSNib::initWithNibNamed_bundle(missing, nullptr), nullptr);
  }
}

TEST_F(NSNibTests, WhatIsNoOrdinaryFileIsNotOpened) {
  const auto code = [](const std::string& path) {
    Ref<NSError> error;
    EXPECT_EQ(NSNib::initWithContentsOfURL(NSURL::fileURLWithPath(path.c_str()), &error), nullptr);
    return error->code();
  };
  ::mkfifo(folder_.at("pipe").c_str(), 0600);
  folder_.write("huge", "");
  std::filesystem::resize_file(folder_.at("huge"), (std::uintmax_t{64} << 20) + 1);
  EXPECT_EQ(code(folder_.at("pipe")), NSFileReadUnknownError);
  EXPECT_EQ(code("/dev/zero"), NSFileReadUnknownError);
  EXPECT_EQ(code(folder_.path()), NSFileReadUnknownError);
  EXPECT_EQ(code(folder_.at("missing")), NSFileReadNoSuchFileError);
  EXPECT_EQ(code(folder_.at("huge")), NSFileReadTooLargeError);
  Ref<NSError> error;
  EXPECT_EQ(NSNib::initWithContentsOfURL(NSURL::URLWithString("https://example.org/"), &error),
            nullptr);
  EXPECT_EQ(error->code(), NSFileReadUnsupportedSchemeError);
  EXPECT_EQ(NSNib::initWithContentsOfURL(nullptr), nullptr);
}

TEST_F(NSNibTests, AFaultNamesItsFile) {
  const auto path = folder_.write("Main.nib", interfaceFile(interfaceObject("a", "NoSuchField")));
  const auto nib = NSNib::initWithContentsOfURL(NSURL::fileURLWithPath(path.c_str()));
  ASSERT_NE(nib, nullptr);
  Ref<NSError> error;
  EXPECT_FALSE(nib->instantiateWithOwner_topLevelObjects(nullptr, nullptr, &error));
  EXPECT_TRUE(error->userInfo()->objectForKey(NSFilePathErrorKey)->isEqual(path.c_str()));
}

}  // namespace
}  // namespace kestova
