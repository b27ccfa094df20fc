// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSKeyValueObserving.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "Faults.h"
#include "ObservedAccount.h"
#include "Watcher.h"

using namespace kestova;
using namespace kestova::testing;

// The first change in its process, where nothing was made by one before.
TEST(PendingChangesFaults, TheEndOfTheFirstChangeNeedsNoMemory) {
  const auto account = make<ObservedAccount>();
  const auto watcher = make<Watcher>();
  const Ref<NSString> name = "name";
  account->addObserver_forKeyPath_options_context(watcher.get(), name, 0, nullptr);
  account->willChangeValueForKey(name);
  const ArmedFault none(FaultyCall::allocation, 1, Fault::failingFromNowOn(ENOMEM));
  account->didChangeValueForKey(name);
  EXPECT_FALSE(none.wasMet());
  EXPECT_EQ(watcher->told, 1);
}
