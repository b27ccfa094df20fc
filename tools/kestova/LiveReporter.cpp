// SPDX-License-Identifier: Apache-2.0
#include "TransferReporter.h"
#include "TransferText.h"

#include <KestovaPlatform/NSString.h>

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace kestova::tool {
namespace {

constexpr int kBarColumns = 20;
constexpr std::size_t kGap = 2;

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

std::string rateText(const OVFileOperation& operation) {
  if (operation.throughput() <= 0) {
    return {};
  }
  return ", " + byteText(operation.throughput()) + "/s, " +
         clockText(static_cast<double>(operation.bytesRemaining()) / operation.throughput()) +
         " left";
}

/// As much of the figures as there are columns for: the share done is always told, then bytes, rate
/// and the bar.
std::string figuresText(const OVFileOperation& operation, std::size_t columns) {
  const double fraction = fractionDone(operation);
  std::string text = std::to_string(static_cast<int>(fraction * 100)) + "%";
  const auto widen = [&](const std::string& wider) {
    if (columnsOf(wider) <= columns) {
      text = wider;
    }
  };
  widen(text + " " + byteText(static_cast<double>(operation.bytesComplete())) + " of " +
        byteText(static_cast<double>(operation.totalBytes())));
  widen(text + rateText(operation));
  widen(bar(fraction) + " " + text);
  return text;
}

class LiveReporter final : public TransferReporter {
 public:
  void progressed(const TransferItem& item, const OVFileOperation& operation) override {
    std::string line;
    if (item.count > 1) {
      line = "(" + std::to_string(item.number) + "/" + std::to_string(item.count) + ") ";
    }
    const std::size_t room = terminalColumns() - 1;  // the last column would wrap the line
    line += figuresText(operation, room - std::min(room, columnsOf(line)));
    if (operation.currentFile() && columnsOf(line) + kGap < room) {
      line += std::string(kGap, ' ') +
              shortenedFront(displayText(operation.currentFile()->fileSystemRepresentation()),
                             room - columnsOf(line) - kGap);
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
