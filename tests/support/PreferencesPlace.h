// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSDictionary.h>

#include <cstdlib>
#include <string>

#include "PrivateBus.h"
#include "TemporaryFolder.h"

namespace kestova::testing {

/// Preferences and a message bus of the tests' own, and an identifier for their program. To be used
/// before anything asks for user defaults or for the bus: both are found once in a process.
class PreferencesPlace {
 public:
  static constexpr const char* kApplication = "org.example.Tests";

  /// The one of the process, gone at its end.
  static PreferencesPlace& current() {
    static PreferencesPlace place;
    return place;
  }

  std::string fileOf(const std::string& domain) const {
    return folder_.at("kestova/" + domain + ".plist");
  }

  /// What the file of a domain holds; null when there is none.
  Ref<NSDictionary> onDisk(const std::string& domain) const {
    return NSDictionary::dictionaryWithContentsOfFile(fileOf(domain));
  }

  PrivateBus& bus() { return bus_; }

 private:
  PreferencesPlace() {
    ::setenv("XDG_CONFIG_HOME", folder_.path().c_str(), 1);
    ::setenv("DBUS_SESSION_BUS_ADDRESS", bus_.address().c_str(), 1);
    NSBundle::declareMainBundleIdentifier(kApplication);
  }

  TemporaryFolder folder_;
  PrivateBus bus_;
};

}  // namespace kestova::testing
