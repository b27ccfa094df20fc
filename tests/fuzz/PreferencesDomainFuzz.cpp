// SPDX-License-Identifier: Apache-2.0
// Whatever lies in a domain's file: it is read, or put aside unchanged, and in either case the
// domain can be written and read again, with every key that was there.
#include <KestovaPlatform/NSLog.h>
#include <KestovaPlatform/NSNumber.h>

#include "../support/TemporaryFolder.h"
#include "preferences/PreferencesDomain.h"

#include <unistd.h>

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

void change(const PreferencesFolder& folder, const Ref<NSDictionary>& before) {
  std::atomic<std::uint64_t> changes{0};
  PreferencesDomain domain(kDomain, folder, changes);
  domain.setValue_forKey(1, kKey);
  if (domain.synchronize()) {
    const auto expected = NSMutableDictionary::dictionaryWithDictionary(before);
    expected->setObject_forKey(1, kKey);
    require(expected->isEqual(read(folder)));
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
