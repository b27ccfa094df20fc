// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/NSNib.h>

#include "files/FileError.h"
#include "files/NativePath.h"
#include "interface/InterfaceFile.h"
#include "interface/InterfaceObjects.h"

#include <sys/stat.h>

#include <cerrno>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSNib)

namespace {

Ref<NSError> errorOf(const InterfaceFault& fault, const Ref<NSString>& path) {
  const auto userInfo = NSMutableDictionary::of({{NSLocalizedDescriptionKey, fault.description}});
  if (path) {
    userInfo->setObject_forKey(path, NSFilePathErrorKey);
  }
  return NSError::errorWithDomain_code_userInfo(NSCocoaErrorDomain, NSFileReadCorruptFileError,
                                                userInfo);
}

/// Why a file isn't even opened: a pipe would be waited for, and a device may never end. 0 for one
/// that is.
int reasonAgainst(const Ref<NSString>& path) {
  const auto native = nativePath(path);
  struct stat facts;
  if (!native || stat(native->c_str(), &facts) != 0) {
    return native ? errno : EILSEQ;
  }
  if (!S_ISREG(facts.st_mode)) {
    return S_ISDIR(facts.st_mode) ? EISDIR : EINVAL;
  }
  return static_cast<std::size_t>(facts.st_size) > InterfaceFile::kMostBytes ? EFBIG : 0;
}

Ref<NSNib> failed(Ref<NSError>* location, Ref<NSError> error) {
  failWith(location, std::move(error));
  return nullptr;
}

}  // namespace

NSNib::NSNib(std::unique_ptr<const InterfaceFile> file, Ref<NSString> path)
    : file_(std::move(file)), path_(std::move(path)) {}

NSNib::~NSNib() = default;

Ref<NSNib> NSNib::read(const Ref<NSData>& data, const Ref<NSString>& path, Ref<NSError>* error) {
  try {
    return make<NSNib>(std::make_unique<const InterfaceFile>(InterfaceFile::read(data)), path);
  } catch (const InterfaceFault& fault) {
    return failed(error, errorOf(fault, path));
  }
}

Ref<NSNib> NSNib::initWithNibNamed_bundle(const Ref<NSString>& name, const Ref<NSBundle>& bundle,
                                          Ref<NSError>* error) {
  const auto searched = bundle ? bundle : NSBundle::mainBundle();
  const bool isFileName = name && name->hasSuffix(".nib");
  const auto path =
      searched->pathForResource_ofType(name, isFileName ? nullptr : Ref<NSString>("nib"));
  if (!path) {
    return failed(error, fileError(FileAccess::reading, name, ENOENT));
  }
  return initWithContentsOfURL(NSURL::fileURLWithPath_isDirectory(path, false), error);
}

Ref<NSNib> NSNib::initWithContentsOfURL(const Ref<NSURL>& url, Ref<NSError>* error) {
  if (!url || !url->isFileURL()) {
    return failed(error, schemeError(FileAccess::reading, url));
  }
  const auto path = url->path();
  if (const int number = reasonAgainst(path); number != 0) {
    return failed(error, fileError(FileAccess::reading, path, number));
  }
  const auto data = NSData::dataWithContentsOfFile_options_error(path, 0, error);
  return data ? read(data, path, error) : nullptr;
}

Ref<NSNib> NSNib::initWithNibData(const Ref<NSData>& data, Ref<NSError>* error) {
  return read(data, nullptr, error);
}

bool NSNib::instantiateWithOwner_topLevelObjects(const id& owner, Ref<NSArray>* topLevelObjects,
                                                 Ref<NSError>* error) const {
  try {
    InterfaceObjects objects(*file_, owner);
    objects.connect();
    const auto topLevel = objects.keep();
    for (const id& object : topLevel) {
      object->retain();
    }
    if (topLevelObjects != nullptr) {
      *topLevelObjects = topLevel;
    }
    return true;
  } catch (const InterfaceFault& fault) {
    return failWith(error, errorOf(fault, path_));
  }
}

}  // namespace kestova
