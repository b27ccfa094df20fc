// SPDX-License-Identifier: Apache-2.0
#include "files/ThroughputWindow.h"

namespace kestova {
namespace {

constexpr std::chrono::milliseconds kWindow{3000};
constexpr std::chrono::milliseconds kSpacing{50};

}  // namespace

void ThroughputWindow::add(Time now, std::uint64_t bytes) {
  newest_ = {now, bytes};
  if (samples_.empty() || now - samples_.back().time >= kSpacing) samples_.push_back(newest_);
  while (samples_.size() > 1 && now - samples_[1].time >= kWindow) samples_.pop_front();
}

double ThroughputWindow::rate() const {
  if (samples_.empty()) return 0;
  const std::chrono::duration<double> span = newest_.time - samples_.front().time;
  if (span.count() <= 0) return 0;
  return static_cast<double>(newest_.bytes - samples_.front().bytes) / span.count();
}

}  // namespace kestova
