// SPDX-License-Identifier: Apache-2.0
#include "files/FileContent.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <optional>
#include <system_error>
#include <thread>

#include "files/FileSystemCalls.h"

namespace kestova {
namespace {

constexpr std::size_t kBufferBytes = 256 * 1024;
constexpr std::size_t kPipeBytes = 1024 * 1024;
constexpr off_t kSmallFile = kBufferBytes;
constexpr off_t kLongRun = 32 * 1024 * 1024;
constexpr off_t kStatBlock = 512;

FileSystemCalls& calls() { return FileSystemCalls::current(); }

bool isSparse(const struct stat& facts) { return facts.st_blocks * kStatBlock < facts.st_size; }

/// Whether an error says that the call cannot do this here, so that another way may.
bool isUnsupported(int error) {
  return error == EINVAL || error == EXDEV || error == EOPNOTSUPP || error == ENOSYS ||
         error == ENOTTY || error == ETXTBSY;
}

/// All of a buffer's bytes, however few each call takes. 0 or the error number.
int writeAll(int target, const char* bytes, std::size_t size, off_t offset) {
  while (size > 0) {
    const ssize_t written =
        uninterrupted([&] { return calls().pwrite(target, bytes, size, offset); });
    if (written <= 0) return written < 0 ? errno : EIO;
    bytes += written;
    offset += written;
    size -= static_cast<std::size_t>(written);
  }
  return 0;
}

int preallocate(int target, off_t size) {
  return uninterrupted([&] { return calls().fallocate(target, 0, size); }) == 0 ? 0 : errno;
}

int truncateTo(int target, off_t size) {
  return uninterrupted([&] { return ::ftruncate(target, size); }) == 0 ? 0 : errno;
}

}  // namespace

struct FileContent::Job {
  int source;
  int target;
  const struct stat& facts;
  const Observer& observer;

  int done(off_t bytes) const {
    return bytes == 0 || observer(static_cast<std::uint64_t>(bytes)) ? 0 : ECANCELED;
  }
};

/// A long run that two threads copy: each takes the next piece when it has done its last one.
///
/// Threads: any number.
class FileContent::SharedRun {
 public:
  SharedRun(off_t offset, off_t end) : end_(end), next_(offset), shortened_(end) {}

  struct Piece {
    off_t offset;
    off_t end;
  };

  std::optional<Piece> take() {
    const off_t offset = next_.fetch_add(kPipeBytes);
    if (offset >= end_) return std::nullopt;
    return Piece{offset, std::min(offset + static_cast<off_t>(kPipeBytes), end_)};
  }
  void stop() { next_ = end_; }

  /// The source has become shorter: it ends at `offset`, or earlier if that was told before.
  void endAt(off_t offset) {
    off_t known = shortened_;
    while (offset < known && !shortened_.compare_exchange_weak(known, offset)) {
    }
    stop();
  }
  off_t end() const { return shortened_; }
  bool isShortened() const { return shortened_ != end_; }

 private:
  const off_t end_;
  std::atomic<off_t> next_;
  std::atomic<off_t> shortened_;
};

int FileContent::copy(int source, int target, const struct stat& facts, const Observer& observer) {
  Job job{source, target, facts, observer};
  if (facts.st_size == 0) return copyUnsized(job);
  if (share(job)) return job.done(facts.st_size);
  if (isSparse(facts)) return copyExtents(job);
  if (facts.st_size <= kSmallFile) return copySmall(job);
  const int error = preallocates_ ? preallocate(target, facts.st_size) : 0;
  if (error != 0 && !isUnsupported(error)) return error;
  // Out of order only where that costs nothing: in memory, and in blocks that are laid out.
  const bool together = error == 0 && facts.st_size >= kLongRun;
  return together ? copyTogether(job) : copyRun(job, 0, facts.st_size);
}

bool FileContent::share(const Job& job) {
  if (unshareable_.contains(job.facts.st_dev)) return false;
  if (uninterrupted([&] { return calls().clone(job.target, job.source); }) == 0) return true;
  // EINVAL is about this one file (its flags, its alignment), the others about the volumes.
  if (errno != EINVAL && isUnsupported(errno)) unshareable_.insert(job.facts.st_dev);
  return false;
}

int FileContent::copySmall(Job& job) {
  off_t offset = 0;
  while (offset < job.facts.st_size) {
    const Step step =
        throughBuffer(job, offset, static_cast<std::size_t>(job.facts.st_size - offset));
    if (step.error != 0) return step.error;
    if (step.moved == 0) break;
    offset += step.moved;
  }
  return job.done(offset);
}

// An empty file, or one that does not tell its size, such as those of /proc.
int FileContent::copyUnsized(Job& job) {
  for (off_t offset = 0;;) {
    const Step step = throughBuffer(job, offset, kBufferBytes);
    if (step.error != 0 || step.moved == 0) return step.error;
    if (const int stopped = job.done(step.moved)) return stopped;
    offset += step.moved;
  }
}

// Only the parts that hold data are written; the size is set first and leaves holes between them.
int FileContent::copyExtents(Job& job) {
  const off_t size = job.facts.st_size;
  if (const int error = truncateTo(job.target, size)) return error;
  for (off_t offset = 0; offset < size;) {
    off_t data = ::lseek(job.source, offset, SEEK_DATA);
    if (data < 0 && errno != ENXIO) data = offset;  // cannot tell: all of it is data
    if (data < 0 || data > size) data = size;
    if (const int stopped = job.done(data - offset)) return stopped;
    if (data == size) return 0;
    off_t end = ::lseek(job.source, data, SEEK_HOLE);
    if (end <= data || end > size) end = size;
    if (const int error = copyRun(job, data, end)) return error;
    offset = end;
  }
  return 0;
}

int FileContent::copyRun(Job& job, off_t offset, off_t end) {
  while (offset < end) {
    const Step done =
        step(job, offset, std::min(static_cast<std::size_t>(end - offset), kPipeBytes));
    if (done.error != 0) return done.error;
    if (done.moved == 0) return truncateTo(job.target, offset);  // has become shorter
    if (const int stopped = job.done(done.moved)) return stopped;
    offset += done.moved;
  }
  return 0;
}

// One processor alone does not fill or move pages as fast as memory takes them.
int FileContent::copyTogether(Job& job) {
  SharedRun run(0, job.facts.st_size);
  FileContent other(preallocates_);
  int othersError = 0;
  std::thread helper;
  try {
    helper = std::thread([&] { othersError = other.copyPieces(job, run); });
  } catch (const std::system_error&) {
    // There are threads enough in this process; this one does all of it.
  }
  const int error = copyPieces(job, run);
  if (helper.joinable()) helper.join();
  if (error != 0 || othersError != 0) return error != 0 ? error : othersError;
  return run.isShortened() ? truncateTo(job.target, run.end()) : 0;
}

int FileContent::copyPieces(const Job& job, SharedRun& run) {
  while (const auto piece = run.take()) {
    if (const int error = copyPiece(job, run, piece->offset, piece->end)) {
      run.stop();
      return error;
    }
  }
  return 0;
}

int FileContent::copyPiece(const Job& job, SharedRun& run, off_t offset, off_t end) {
  while (offset < end) {
    const Step done = step(job, offset, static_cast<std::size_t>(end - offset));
    if (done.error != 0) return done.error;
    if (done.moved == 0) {
      run.endAt(offset);
      return 0;
    }
    if (const int stopped = job.done(done.moved)) return stopped;
    offset += done.moved;
  }
  return 0;
}

// Falls back, for good, to the next way when one is not supported, and for this once to reading
// when one answers that there is nothing left.
FileContent::Step FileContent::step(const Job& job, off_t offset, std::size_t size) {
  for (; way_ != Way::buffer; way_ = way_ == Way::pipe ? Way::range : Way::buffer) {
    const Step step =
        way_ == Way::pipe ? throughPipe(job, offset, size) : inKernel(job, offset, size);
    if (step.error == 0 && step.moved > 0) return step;
    if (step.error == 0) break;
    if (!isUnsupported(step.error)) return step;
  }
  return throughBuffer(job, offset, size);
}

FileContent::Step FileContent::throughPipe(const Job& job, off_t offset, std::size_t size) {
  if (!openPipe()) return {0, ENOSYS};
  off_t from = offset;
  const ssize_t taken = uninterrupted(
      [&] { return calls().splice(job.source, &from, pipeIn_.get(), nullptr, size); });
  if (taken <= 0) return {0, taken < 0 ? errno : 0};
  return drainPipe(job, offset, static_cast<std::size_t>(taken));
}

// Bytes that cannot be drained are dropped with the pipe: the caller goes on from what was moved.
FileContent::Step FileContent::drainPipe(const Job& job, off_t offset, std::size_t size) {
  off_t to = offset;
  std::size_t left = size;
  while (left > 0) {
    const ssize_t moved = uninterrupted(
        [&] { return calls().splice(pipeOut_.get(), nullptr, job.target, &to, left); });
    if (moved <= 0) {
      const int error = moved < 0 ? errno : EIO;
      pipeOut_.close();
      pipeIn_.close();
      const auto done = static_cast<ssize_t>(size - left);
      return {done, done > 0 && isUnsupported(error) ? 0 : error};
    }
    left -= static_cast<std::size_t>(moved);
  }
  return {static_cast<ssize_t>(size), 0};
}

FileContent::Step FileContent::inKernel(const Job& job, off_t offset, std::size_t size) {
  off_t from = offset;
  off_t to = offset;
  const ssize_t moved = uninterrupted(
      [&] { return calls().copyFileRange(job.source, &from, job.target, &to, size); });
  return {moved, moved < 0 ? errno : 0};
}

FileContent::Step FileContent::throughBuffer(const Job& job, off_t offset, std::size_t size) {
  buffer_.resize(kBufferBytes);
  const ssize_t got = uninterrupted([&] {
    return calls().pread(job.source, buffer_.data(), std::min(size, kBufferBytes), offset);
  });
  if (got <= 0) return {got, got < 0 ? errno : 0};
  return {got, writeAll(job.target, buffer_.data(), static_cast<std::size_t>(got), offset)};
}

bool FileContent::openPipe() {
  if (pipeIn_) return true;
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return false;
  pipeOut_ = FileDescriptor(ends[0]);
  pipeIn_ = FileDescriptor(ends[1]);
  // Refused where the user's pipes hold too much already; a small pipe is only slower.
  ::fcntl(pipeIn_.get(), F_SETPIPE_SZ, static_cast<int>(kPipeBytes));
  return true;
}

}  // namespace kestova
