// SPDX-License-Identifier: Apache-2.0
#include "InputFile.h"

#include "FileFailure.h"
#include "TransferText.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <utility>
#include <vector>

namespace kestova::tool {
namespace {

constexpr std::size_t kPieceSize = std::size_t{256} << 10;

Descriptor opened(const std::string& path) {
  return Descriptor(path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

}  // namespace

InputFile::InputFile(const std::string& path)
    : displayName_(path == "-" ? "standard input" : displayText(path)), file_(opened(path)) {
  if (!file_) {
    throw FileFailure(displayName_, errno);
  }
}

std::size_t InputFile::read(std::span<std::byte> buffer) {
  std::size_t filled = 0;
  while (filled < buffer.size()) {
    const auto count = ::read(file_.number(), buffer.data() + filled, buffer.size() - filled);
    if (count < 0 && errno != EINTR) {
      throw FileFailure(displayName_, errno);
    }
    if (count == 0) {
      break;
    }
    filled += count > 0 ? static_cast<std::size_t>(count) : 0;
  }
  return filled;
}

void InputFile::forEachPiece(const std::function<void(std::span<const std::byte>)>& consume) {
  std::vector<std::byte> buffer(kPieceSize);
  for (std::size_t count = buffer.size(); count == buffer.size();) {
    count = read(buffer);
    if (count > 0) {
      consume({buffer.data(), count});
    }
  }
}

void InputFile::makeRewindable() {
  if (::lseek(file_.number(), 0, SEEK_CUR) >= 0) {
    return;
  }
  const char* folder = std::getenv("TMPDIR");
  Descriptor copy(
      ::open(folder != nullptr ? folder : "/tmp", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
  if (!copy) {
    copy = Descriptor(::memfd_create("kestova", MFD_CLOEXEC));
  }
  forEachPiece([&](std::span<const std::byte> piece) {
    if (const int error = copy.write(piece); error != 0) {
      throw FileFailure("a temporary file", error);
    }
  });
  file_ = std::move(copy);
  rewind();
}

std::uint64_t InputFile::position() const {
  return static_cast<std::uint64_t>(::lseek(file_.number(), 0, SEEK_CUR));
}

bool InputFile::rewind() { return ::lseek(file_.number(), 0, SEEK_SET) == 0; }

}  // namespace kestova::tool
