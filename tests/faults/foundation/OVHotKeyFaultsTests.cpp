// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVHotKey.h>
#include <KestovaFoundation/OVHotKeyCenter.h>
#include <KestovaPlatform/NSEvent.h>
#include <KestovaPlatform/NSSet.h>
#include <KestovaPlatform/NSValue.h>
#include <gtest/gtest.h>

#include "AllocationFaults.h"
#include "ChangeCounter.h"
#include "ScriptedHotKeyService.h"

using namespace kestova;
using namespace kestova::testing;

namespace {

class OVHotKeyFaults : public ::testing::Test {
 protected:
  ~OVHotKeyFaults() override { HotKeyService::setShared(nullptr); }

  const std::shared_ptr<ScriptedHotKeyService> service_ = useScriptedHotKeyService();
};

}  // namespace

TEST_F(OVHotKeyFaults, AHotKeyThatFindsNoMemoryIsNotRegistered) {
  const auto center = OVHotKeyCenter::init();
  Ref<OVHotKey> hotKey;
  const int refused = walkAllocations(
      [&] {
        hotKey = nullptr;
        hotKey = center->registerHotKeyWithKeyCode_modifierFlags_handler(7, NSControlKeyMask, {});
      },
      [&](bool threw) {
        EXPECT_EQ(hotKey == nullptr, threw);
        EXPECT_EQ(service_->registered.size(), threw ? 0U : 1U);
        EXPECT_EQ(center->registeredHotKeys()->count(), threw ? 0U : 1U);
        center->unregisterHotKey(hotKey);
        EXPECT_TRUE(service_->registered.empty());
      });
  EXPECT_GT(refused, 2);
}

TEST_F(OVHotKeyFaults, AHotKeyIsGivenBackOnceThoughNobodyCanBeToldOfIt) {
  Ref<OVHotKey> hotKey;
  const auto counter = make<ChangeCounter>();
  walkAllocations(
      [&] {
        hotKey = OVHotKey::initWithKeyCode_modifierFlags_handler(7, NSControlKeyMask, {});
        counter->observe(*hotKey, "hotKeyRef");
        static_cast<void>(hotKey->registerHotKey());
        hotKey->unregisterHotKey();
      },
      [&](bool) {
        hotKey = nullptr;
        EXPECT_TRUE(service_->registered.empty());
        EXPECT_EQ(counter->open(), 0);
      });
}
