// SPDX-License-Identifier: Apache-2.0
#include "OutputFile.h"

#include "FileFailure.h"
#include "TransferText.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <memory>

namespace kestova::tool {
namespace {

/// So many bytes are collected before they are written.
constexpr std::size_t kCollected = std::size_t{64} << 10;

/// The name of the new file while there is one, for the signal handler; empty otherwise.
std::array<char, PATH_MAX> unfinishedName{};

constexpr int kEndingSignals[] = {SIGHUP, SIGINT, SIGTERM};

/// Keeps the signals back for as long as it lives: while there is a file that the handler does not
/// know yet.
class SignalsHeldBack {
 public:
  SignalsHeldBack() {
    sigset_t held;
    ::sigemptyset(&held);
    for (const int signal : kEndingSignals) {
      ::sigaddset(&held, signal);
    }
    ::pthread_sigmask(SIG_BLOCK, &held, &before_);
  }
  ~SignalsHeldBack() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsHeldBack(const SignalsHeldBack&) = delete;
  SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;

 private:
  sigset_t before_;
};

void removeUnfinished(int signal) {
  ::unlink(unfinishedName.data());
  ::_exit(128 + signal);
}

/// The first byte comes last and goes first: the handler never sees half a name.
void setUnfinishedName(const std::string& name) {
  unfinishedName[0] = '\0';
  if (name.size() < unfinishedName.size()) {
    std::ranges::copy(name.begin() + !name.empty(), name.end(), unfinishedName.begin() + 1);
    unfinishedName[name.size()] = '\0';
    std::atomic_signal_fence(std::memory_order_seq_cst);
    unfinishedName[0] = name.empty() ? '\0' : name[0];
  }
}

/// A signal that the caller had ignored, as nohup does, stays so.
void removeUnfinishedOnSignals() {
  for (const int signal : kEndingSignals) {
    if (std::signal(signal, removeUnfinished) == SIG_IGN) {
      std::signal(signal, SIG_IGN);
    }
  }
}

/// The name behind symbolic links; the name itself where there is none yet.
std::string resolved(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                         &std::free);
  return real ? real.get() : path;
}

}  // namespace

UnfinishedFile::~UnfinishedFile() {
  if (exists()) {
    ::unlink(name_.c_str());
    setUnfinishedName({});
  }
}

Descriptor UnfinishedFile::createBeside(const std::string& path) {
  removeUnfinishedOnSignals();
  std::string name = path.substr(0, path.rfind('/') + 1) + ".kestova-write-XXXXXX";
  const SignalsHeldBack held;
  Descriptor file(::mkostemp(name.data(), O_CLOEXEC));
  if (file) {
    name_ = name;
    setUnfinishedName(name_);
  }
  return file;
}

int UnfinishedFile::takeName(const std::string& path) {
  if (::rename(name_.c_str(), path.c_str()) != 0) {
    return errno;
  }
  name_.clear();
  setUnfinishedName({});
  return 0;
}

OutputFile::OutputFile(const std::string& path)
    : displayName_(path == "-" ? "standard output" : displayText(path)), path_(resolved(path)) {
  struct stat facts {};
  const bool exists = ::stat(path_.c_str(), &facts) == 0;
  if (path == "-") {
    file_ = Descriptor(STDOUT_FILENO);
  } else if (exists && ::access(path_.c_str(), W_OK) != 0) {
    fail(errno);
  } else if (exists && !S_ISREG(facts.st_mode)) {
    file_ = Descriptor(::open(path_.c_str(), O_WRONLY | O_CLOEXEC));
  } else {
    file_ = unfinished_.createBeside(path_);
  }
  if (!file_) {
    fail(errno);
  }
  if (unfinished_.exists()) {
    takePermissions(exists ? std::optional(facts) : std::nullopt);
  }
}

void OutputFile::takePermissions(const std::optional<struct stat>& old) const {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  const mode_t mode = old ? old->st_mode & 07777 : 0666 & ~mask;
  // Only a privileged process may keep another owner; it does so before it sets the mode, which a
  // change of owner may narrow.
  const bool isOwned = !old || ::fchown(file_.number(), old->st_uid, old->st_gid) == 0;
  if (::fchmod(file_.number(), isOwned ? mode : mode & 0777) != 0) {
    fail(errno);
  }
}

void OutputFile::write(std::span<const std::byte> bytes) {
  if (collected_.size() + bytes.size() > kCollected) {
    flush();
  }
  if (bytes.size() > kCollected) {
    writeNow(bytes);
  } else {
    collected_.insert(collected_.end(), bytes.begin(), bytes.end());
  }
}

void OutputFile::flush() {
  writeNow(collected_);
  collected_.clear();
}

void OutputFile::writeNow(std::span<const std::byte> bytes) const {
  if (const int error = file_.write(bytes); error != 0) {
    fail(error);
  }
}

void OutputFile::commit() {
  flush();
  if (unfinished_.exists() && ::fdatasync(file_.number()) != 0) {
    fail(errno);
  }
  if (const int error = file_.close(); error != 0) {
    fail(error);
  }
  if (const int error = unfinished_.exists() ? unfinished_.takeName(path_) : 0; error != 0) {
    fail(error);
  }
}

void OutputFile::fail(int errorNumber) const { throw FileFailure(displayName_, errorNumber); }

}  // namespace kestova::tool
