// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <latch>
#include <optional>
#include <string>

#include "ScriptedFileSystemCalls.h"

namespace kestova::testing {

/// Where threads wait until somebody opens it, for good.
class Gate {
 public:
  void pass() const { opened_.wait(); }
  void open() {
    if (!isOpen_.exchange(true)) opened_.count_down();
  }

 private:
  std::atomic<bool> isOpen_{false};
  std::latch opened_{1};
};

/// While it lives, transfers wait where a test wants to look at them: before they list their first
/// folder, and before they open a file named "held". Open both gates and end the transfers before
/// it goes.
class HeldTransfers {
 public:
  HeldTransfers() {
    calls_.onList = [this](int) -> std::optional<ssize_t> {
      listing.pass();
      return std::nullopt;
    };
    calls_.onOpen = [this](int, const std::string& name, int) -> std::optional<int> {
      if (name == "held") file.pass();
      return std::nullopt;
    };
  }

  Gate listing;
  Gate file;

  void open() {
    listing.open();
    file.open();
  }

 private:
  ScriptedFileSystemCalls calls_;
};

}  // namespace kestova::testing
