// SPDX-License-Identifier: Apache-2.0
// Whatever lies in a domain's file: it is read, or put aside unchanged, and in either case the
// domain can be written and read again, with every key that was there.
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSLog.h>
#include <KestovaPlatform/NSNumber.h>

#include "../support/TemporaryFolder.h"
#include "preferences/PreferencesDomain.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

using namespace kestova;

namespace {

constexpr const char* kDomain = "domain";
constexpr const char* kKey = "key of the test";

class Silence : public LogSink {
 public:
  Silence() { setCurrent(this); }
  void write(std::string_view) override {}
};

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

/// What a process that begins now sees.
Ref<NSDictionary> read(const PreferencesFolder& folder) {
  std::atomic<std::uint64_t> changes{0};
  return PreferencesDomain(kDomain, folder, changes).contents();
}

std::string putAside(const testing::TemporaryFolder& place) {
  for (const auto& entry : std::filesystem::directory_iterator(place.path())) {
    const std::string name = entry.path().filename();
    if (name.starts_with("domain.plist.damaged-")) {
      return place.read(name);
    }
  }
  return "none";
}

/// The first value goes in with all others, those that follow in place of one that was there.
void change(const PreferencesFolder& folder, const Ref<NSDictionary>& before) {
  std::atomic<std::uint64_t> changes{0};
  PreferencesDomain domain(kDomain, folder, changes);
  const auto expected = NSMutableDictionary::dictionaryWithDictionary(before);
  const auto change = [&](const id& key, const id& value) {
    domain.setValue_forKey(value, key);
    if (domain.synchronize()) {
      expected->setObject_forKey(value, key);
      require(expected->isEqual(read(folder)));
    }
  };
  change(kKey, 1);
  if (domain.hasPendingChanges()) {
    return;  // what was there cannot be written
  }
  change(kKey, "a longer value");
  const auto keys = before->allKeys();
  for (NSUInteger index = 0; index < std::min<NSUInteger>(keys->count(), 4); ++index) {
    change(keys->objectAtIndex(index), 1);
  }
}

void checkName(std::string_view bytes) {
  if (const auto domain = domainForFileStem(bytes)) {
    require(fileStemForDomain(domain) == bytes);
  }
  if (const auto domain = NSString::stringWithUTF8String(bytes)) {
    require(domain->isEqual(domainForFileStem(fileStemForDomain(domain))));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const Silence silence;
  static const testing::TemporaryFolder place;
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  checkName(text);
  for (const auto& entry : std::filesystem::directory_iterator(place.path())) {
    std::filesystem::remove(entry.path());
  }
  place.write("domain.plist", text);
  const PreferencesFolder folder(place.path(), ::geteuid());
  const auto contents = read(folder);
  if (!std::filesystem::exists(place.at("domain.plist"))) {
    require(contents->count() == 0 && putAside(place) == text);
  }
  change(folder, contents);
  return 0;
}
