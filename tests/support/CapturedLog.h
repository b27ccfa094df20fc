// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSLog.h>

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace kestova::testing {

/// Keeps the log's entries while it lives, instead of printing them.
class CapturedLog : public LogSink {
 public:
  CapturedLog() { setCurrent(this); }
  ~CapturedLog() override { setCurrent(nullptr); }

  void write(std::string_view entry) override {
    const std::scoped_lock lock(mutex_);
    const std::size_t text = entry.find("] ");
    entries_.emplace_back(entry.substr(text + 2, entry.size() - text - 3));
  }

  /// The texts, without time, program and line break.
  std::vector<std::string> lines() const {
    const std::scoped_lock lock(mutex_);
    return entries_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> entries_;
};

}  // namespace kestova::testing
