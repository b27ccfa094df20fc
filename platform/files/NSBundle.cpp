// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSLog.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>

#include "files/NativePath.h"
#include "files/WholeFile.h"

#include <errno.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSBundle, .property<&NSBundle::bundleIdentifier>("bundleIdentifier")
                                   .property<&NSBundle::bundlePath>("bundlePath")
                                   .property<&NSBundle::executablePath>("executablePath")
                                   .property<&NSBundle::infoDictionary>("infoDictionary"))

namespace {

/// The running program's file. The system marks the name of one that was removed or replaced since.
std::string runningProgram() {
  std::error_code error;
  std::string path = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) {
    return program_invocation_name;
  }
  constexpr std::string_view kMark = " (deleted)";
  if (path.ends_with(kMark) && !std::filesystem::exists(path, error)) {
    path.resize(path.size() - kMark.size());
  }
  return path;
}

/// The dictionary in a file; else nothing, and the reason.
Ref<NSDictionary> readDictionary(const std::string& path, Ref<NSString>& problem) {
  const auto contents = NSMutableData::data();
  if (const int error = readWholeFile(path, *contents); error != 0) {
    problem = std::strerror(error);
    return nullptr;
  }
  Ref<NSError> error;
  const auto propertyList = NSPropertyListSerialization::propertyListWithData_options_format_error(
      contents, NSPropertyListImmutable, nullptr, &error);
  const auto dictionary = cast<NSDictionary>(propertyList);
  if (!dictionary) {
    problem = error ? error->localizedDescription() : "There is no dictionary at its top.";
  }
  return dictionary;
}

Ref<NSDictionary> readInfoDictionary(const Ref<NSString>& path) {
  const auto name = path->fileSystemRepresentation();
  std::error_code error;
  if (!std::filesystem::exists(std::filesystem::symlink_status(name, error))) {
    return NSDictionary::dictionary();
  }
  Ref<NSString> problem;
  const auto dictionary = readDictionary(name, problem);
  if (!dictionary) {
    NSLog("%@ can't be read: %@", path, problem);
  }
  return dictionary ? dictionary : NSDictionary::dictionary();
}

bool isAllowedInIdentifier(char16_t unit) {
  return (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z') ||
         (unit >= '0' && unit <= '9') || unit == '-' || unit == '.';
}

Ref<NSString> identifierFor(const Ref<NSString>& name) {
  std::u16string units = name->utf16();
  std::ranges::replace_if(
      units, [](char16_t unit) { return !isAllowedInIdentifier(unit); }, u'-');
  return u"kestova." + units;
}

bool isFilled(const Ref<NSString>& text) { return text && text->length() > 0; }

}  // namespace

NSBundle::NSBundle(const Ref<NSString>& executablePath)
    : NSBundle(executablePath->stringByDeletingLastPathComponent(), executablePath) {}

NSBundle::NSBundle(Ref<NSString> path, Ref<NSString> executablePath)
    : path_(std::move(path)),
      executablePath_(std::move(executablePath)),
      infoDictionary_(readInfoDictionary(path_->stringByAppendingPathComponent("Info.plist"))) {}

Ref<NSBundle> NSBundle::mainBundle() {
  static NSBundle* const bundle =
      make<NSBundle>(NSString::stringWithFileSystemRepresentation(runningProgram())).leak();
  return Ref<NSBundle>(bundle);
}

Ref<NSBundle> NSBundle::bundleWithPath(const Ref<NSString>& path) {
  const auto native = nativePath(path);
  return native && isFolder(*native) ? make<NSBundle>(copyOf(path), nullptr) : nullptr;
}

void NSBundle::declareMainBundleIdentifier(const Ref<NSString>& identifier) {
  const auto bundle = mainBundle();
  const std::lock_guard lock(bundle->mutex_);
  bundle->declaredIdentifier_ = isFilled(identifier) ? copyOf(identifier) : nullptr;
}

Ref<NSString> NSBundle::bundleIdentifier() const {
  {
    const std::lock_guard lock(mutex_);
    if (declaredIdentifier_) {
      return declaredIdentifier_;
    }
  }
  const auto listed = cast<NSString>(objectForInfoDictionaryKey("CFBundleIdentifier"));
  const auto& named = executablePath_ ? executablePath_ : path_;
  return isFilled(listed) ? listed : identifierFor(named->lastPathComponent());
}

id NSBundle::objectForInfoDictionaryKey(const Ref<NSString>& key) const {
  return infoDictionary_->objectForKey(key);
}

}  // namespace kestova
