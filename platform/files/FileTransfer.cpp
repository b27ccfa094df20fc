// SPDX-License-Identifier: Apache-2.0
#include "files/FileTransfer.h"

#include <cerrno>
#include <chrono>
#include <new>
#include <system_error>
#include <utility>

#include "files/StatusForErrno.h"

namespace kestova {

FileTransfer::FileTransfer(TransferRequest request)
    : request_(std::move(request)), control_([this](const std::string& item) { setItem(item); }) {}

FileTransfer::~FileTransfer() {
  cancel();
  if (thread_.joinable()) thread_.join();
}

OSStatus FileTransfer::start(Listener listener) {
  if (thread_.joinable()) return paramErr;
  TransferEndpoints ends;
  if (const OSStatus status = ends.open(request_)) return status;
  ends_ = std::move(ends);
  listener_ = std::move(listener);
  item_ = ends_.sourcePath;
  try {
    thread_ = std::thread([this] { work(); });
  } catch (const std::system_error&) {
    return memFullErr;
  }
  return noErr;
}

void FileTransfer::cancel() { control_.cancel(); }

TransferSnapshot FileTransfer::snapshot() const {
  TransferSnapshot snapshot;
  {
    const std::lock_guard lock(mutex_);
    snapshot = {stage_, status_, item_, {}};
  }
  snapshot.figures = control_.progress().figures(std::chrono::steady_clock::now());
  return snapshot;
}

OSStatus FileTransfer::wait() {
  std::unique_lock lock(mutex_);
  change_.wait(lock, [this] { return ended_; });
  return status_;
}

void FileTransfer::work() {
  try {
    TransferRun run(request_, ends_, control_, [this](TransferStage stage) { enterStage(stage); });
    end(run.run());
  } catch (const std::bad_alloc&) {
    end({ENOMEM, {}});
  }
}

void FileTransfer::enterStage(TransferStage stage) {
  {
    const std::lock_guard lock(mutex_);
    stage_ = stage;
  }
  tellListener();
}

void FileTransfer::setItem(const std::string& item) {
  {
    const std::lock_guard lock(mutex_);
    item_ = item;
  }
  tellListener();
}

void FileTransfer::tellListener() const {
  if (listener_) listener_();
}

void FileTransfer::end(const TransferOutcome& outcome) {
  {
    const std::lock_guard lock(mutex_);
    stage_ = TransferStage::complete;
    status_ = statusForErrno(outcome.error);
    if (!outcome.item.empty()) item_ = outcome.item;
  }
  tellListener();
  const std::lock_guard lock(mutex_);
  ended_ = true;
  change_.notify_all();
}

}  // namespace kestova
