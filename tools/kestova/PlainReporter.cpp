// SPDX-License-Identifier: Apache-2.0
#include "Counted.h"
#include "TransferReporter.h"
#include "TransferText.h"

#include <cstdio>

namespace kestova::tool {
namespace {

class PlainReporter final : public TransferReporter {
 public:
  void began(const TransferItem& item) override {
    tenths_ = 0;
    std::printf("%s %s to %s\n", item.kind == TransferKind::kCopy ? "Copying" : "Moving",
                displayText(item.source).c_str(), displayText(item.destination).c_str());
    std::fflush(stdout);
  }

  void progressed(const TransferItem&, const OVFileOperation& operation) override {
    const int tenths = static_cast<int>(fractionDone(operation) * 10);
    if (tenths <= tenths_) {
      return;
    }
    tenths_ = tenths;
    std::printf("%3d%%  %s of %s\n", tenths * 10,
                byteText(static_cast<double>(operation.bytesComplete())).c_str(),
                byteText(static_cast<double>(operation.totalBytes())).c_str());
    std::fflush(stdout);
  }

  void ended(const TransferItem& item, const OVFileOperation& operation, OSStatus status) override {
    if (status == noErr) {
      std::printf("%s %s, %s\n", item.kind == TransferKind::kCopy ? "Copied" : "Moved",
                  counted(operation.objectsComplete(), "object").c_str(),
                  byteText(static_cast<double>(operation.bytesComplete())).c_str());
      std::fflush(stdout);
    }
  }

 private:
  int tenths_ = 0;
};

class QuietReporter final : public TransferReporter {};

}  // namespace

std::unique_ptr<TransferReporter> makePlainReporter() { return std::make_unique<PlainReporter>(); }

std::unique_ptr<TransferReporter> makeQuietReporter() { return std::make_unique<QuietReporter>(); }

}  // namespace kestova::tool
