// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/HotKeyService.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace kestova::testing {

/// A hot-key service without a desktop: it answers what it is told to, and knows what is
/// registered.
class ScriptedHotKeyService final : public HotKeyService {
 public:
  std::string name() const override { return "a script"; }
  bool isLive() const override { return true; }
  OSStatus registerHotKey(EventHotKeyRef hotKey) override {
    if (answer == noErr) registered.push_back(hotKey);
    return answer;
  }
  void unregisterHotKey(EventHotKeyRef hotKey) override {
    registered.erase(std::find(registered.begin(), registered.end(), hotKey));
  }

  OSStatus answer = noErr;
  std::vector<EventHotKeyRef> registered;
};

/// Makes one and puts it in use.
inline std::shared_ptr<ScriptedHotKeyService> useScriptedHotKeyService() {
  auto service = std::make_shared<ScriptedHotKeyService>();
  HotKeyService::setShared(service);
  return service;
}

}  // namespace kestova::testing
