// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>

#include "object/Reference.h"

namespace kestova {
namespace {

/// The container of that kind at the top; null when there is none, or no property list.
template <class Container>
Ref<Container> containerIn(const Ref<NSData>& contents) {
  return cast<Container>(NSPropertyListSerialization::propertyListWithData_options_format_error(
      contents, NSPropertyListImmutable));
}

template <class Container>
Ref<NSData> contentsFor(const Container& container) {
  return NSPropertyListSerialization::dataWithPropertyList_format_options_error(
      reference(container), NSPropertyListXMLFormat_v1_0, 0);
}

}  // namespace

Ref<NSArray> NSArray::arrayWithContentsOfFile(const Ref<NSString>& path) {
  return containerIn<NSArray>(NSData::dataWithContentsOfFile(path));
}

Ref<NSArray> NSArray::arrayWithContentsOfURL(const Ref<NSURL>& url) {
  return containerIn<NSArray>(NSData::dataWithContentsOfURL(url));
}

bool NSArray::writeToFile_atomically(const Ref<NSString>& path, bool atomically) const {
  const auto contents = contentsFor(*this);
  return contents && contents->writeToFile_atomically(path, atomically);
}

bool NSArray::writeToURL_atomically(const Ref<NSURL>& url, bool atomically) const {
  const auto contents = contentsFor(*this);
  return contents && contents->writeToURL_atomically(url, atomically);
}

Ref<NSDictionary> NSDictionary::dictionaryWithContentsOfFile(const Ref<NSString>& path) {
  return containerIn<NSDictionary>(NSData::dataWithContentsOfFile(path));
}

Ref<NSDictionary> NSDictionary::dictionaryWithContentsOfURL(const Ref<NSURL>& url) {
  return containerIn<NSDictionary>(NSData::dataWithContentsOfURL(url));
}

bool NSDictionary::writeToFile_atomically(const Ref<NSString>& path, bool atomically) const {
  const auto contents = contentsFor(*this);
  return contents && contents->writeToFile_atomically(path, atomically);
}

bool NSDictionary::writeToURL_atomically(const Ref<NSURL>& url, bool atomically) const {
  const auto contents = contentsFor(*this);
  return contents && contents->writeToURL_atomically(url, atomically);
}

}  // namespace kestova
