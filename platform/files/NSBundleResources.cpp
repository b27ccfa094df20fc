// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSFileManager.h>
#include <KestovaPlatform/NSLocale.h>

#include <vector>

namespace kestova {
namespace {

bool isNullOrEmpty(const Ref<NSString>& text) { return !text || text->length() == 0; }

/// Where resources of the locale may stand below a folder, those of its country first.
std::vector<Ref<NSString>> foldersFor(const NSLocale& locale, const Ref<NSString>& folder) {
  std::vector<Ref<NSString>> folders;
  for (const id& name :
       {id(locale.localeIdentifier()), locale.objectForKey(NSLocaleLanguageCode)}) {
    if (name) {
      folders.push_back(
          folder->stringByAppendingPathComponent(NSString::stringWithFormat("%@.lproj", name)));
    }
  }
  folders.push_back(folder);
  return folders;
}

}  // namespace

Ref<NSString> NSBundle::pathForResource_ofType(const Ref<NSString>& name,
                                               const Ref<NSString>& type) const {
  if (isNullOrEmpty(name)) {
    return nullptr;
  }
  const auto file = isNullOrEmpty(type) ? name : NSString::stringWithFormat("%@.%@", name, type);
  for (const auto& folder : foldersFor(*NSLocale::currentLocale(), bundlePath())) {
    const auto path = folder->stringByAppendingPathComponent(file);
    if (NSFileManager::defaultManager()->fileExistsAtPath(path)) {
      return path;
    }
  }
  return nullptr;
}

Ref<NSString> NSBundle::localizedStringForKey_value_table(const Ref<NSString>& key,
                                                          const Ref<NSString>& value,
                                                          const Ref<NSString>& table) const {
  const Ref<NSString> name = NSString::stringWithFormat(
      "%@.strings", isNullOrEmpty(table) ? Ref<NSString>("Localizable") : table);
  for (const auto& folder : foldersFor(*NSLocale::currentLocale(), bundlePath())) {
    const auto texts =
        NSDictionary::dictionaryWithContentsOfFile(folder->stringByAppendingPathComponent(name));
    if (const auto text = texts && key ? cast<NSString>(texts->objectForKey(key)) : nullptr) {
      return text;
    }
  }
  return !isNullOrEmpty(value) ? value : key ? key : NSString::string();
}

}  // namespace kestova
