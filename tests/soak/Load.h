// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace kestova::soak {

/// One kind of work that goes on for as long as it lives.
class Load {
 public:
  virtual ~Load() = default;
  virtual const char* name() const = 0;

  /// How often the work has come to its end so far.
  unsigned long done() const { return done_; }

 protected:
  void finishOne() { ++done_; }

 private:
  std::atomic<unsigned long> done_ = 0;
};

using Loads = std::vector<std::unique_ptr<Load>>;

/// Copies a folder again and again, on the main run loop.
std::unique_ptr<Load> copying(const std::string& folder);
/// Follows what another process, made by `program --write`, sets in a shared suite.
std::unique_ptr<Load> sharing(const std::string& program);
/// Posts from two threads while observers come and go.
std::unique_ptr<Load> notifying();
/// Asks throttles and coalescers more often than they let through.
std::unique_ptr<Load> throttling();
/// Is called by a hot key that somebody presses, while others are taken and given back.
std::unique_ptr<Load> pressing();

/// What the other process does: sets values in the shared suite until it is killed.
int writeForEver();

}  // namespace kestova::soak
