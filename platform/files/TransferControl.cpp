// SPDX-License-Identifier: Apache-2.0
#include "files/TransferControl.h"

#include <cerrno>

namespace kestova {
namespace {

constexpr std::chrono::milliseconds kReportInterval{25};

}  // namespace

void TransferControl::fail(int error, std::string item) {
  const std::lock_guard lock(mutex_);
  if (error_ != 0) return;
  error_ = error;
  failedItem_ = std::move(item);
  stopped_ = true;
}

void TransferControl::cancel() { fail(ECANCELED, {}); }

int TransferControl::error() const {
  const std::lock_guard lock(mutex_);
  return error_;
}

std::string TransferControl::failedItem() const {
  const std::lock_guard lock(mutex_);
  return failedItem_;
}

bool TransferControl::takeTurn(Time now) {
  if (now < nextReport_.load(std::memory_order_relaxed)) return false;
  if (reporting_.exchange(true, std::memory_order_acquire)) return false;
  nextReport_.store(now + kReportInterval, std::memory_order_relaxed);
  return true;
}

}  // namespace kestova
