// SPDX-License-Identifier: Apache-2.0
#include "TransferReporter.h"
#include "TransferText.h"

#include <KestovaPlatform/NSString.h>

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <string>

namespace kestova::tool {
namespace {

constexpr int kBarColumns = 20;

std::size_t terminalColumns() {
  winsize size{};
  return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

std::string bar(double fraction) {
  const int full = static_cast<int>(fraction * kBarColumns);
  std::string text = "[";
  for (int i = 0; i < kBarColumns; ++i) {
    text += i < full ? '#' : '-';
  }
  return text + "]";
}

std::string figuresText(const OVFileOperation& operation) {
  const double fraction = fractionDone(operation);
  std::string text = bar(fraction) + " " + std::to_string(static_cast<int>(fraction * 100)) + "% " +
                     byteText(static_cast<double>(operation.bytesComplete())) + " of " +
                     byteText(static_cast<double>(operation.totalBytes()));
  if (operation.throughput() > 0) {
    text += ", " + byteText(operation.throughput()) + "/s, " +
            clockText(static_cast<double>(operation.bytesRemaining()) / operation.throughput()) +
            " left";
  }
  return text;
}

class LiveReporter final : public TransferReporter {
 public:
  void progressed(const TransferItem& item, const OVFileOperation& operation) override {
    std::string line;
    if (item.count > 1) {
      line = "(" + std::to_string(item.number) + "/" + std::to_string(item.count) + ") ";
    }
    line += figuresText(operation) + "  ";
    const std::size_t room = terminalColumns() - 1;  // the last column would wrap the line
    if (operation.currentFile() && columnsOf(line) < room) {
      line += shortenedFront(displayText(operation.currentFile()->fileSystemRepresentation()),
                             room - columnsOf(line));
    }
    std::printf("\r%s\033[K", line.c_str());
    std::fflush(stdout);
    isLineOpen_ = true;
  }

  void ended(const TransferItem&, const OVFileOperation&, OSStatus) override { closeLine(); }

  ~LiveReporter() override { closeLine(); }

 private:
  void closeLine() {
    if (isLineOpen_) {
      std::putchar('\n');
      std::fflush(stdout);
      isLineOpen_ = false;
    }
  }

  bool isLineOpen_ = false;
};

}  // namespace

std::unique_ptr<TransferReporter> makeLiveReporter() { return std::make_unique<LiveReporter>(); }

}  // namespace kestova::tool
