// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "TransferItem.h"

#include <KestovaFoundation/OVFileOperation.h>

#include <memory>

namespace kestova::tool {

/// Tells a person or a program how a transfer goes, on standard output.
class TransferReporter {
 public:
  virtual ~TransferReporter() = default;

  virtual void began(const TransferItem&) {}
  virtual void progressed(const TransferItem&, const OVFileOperation&) {}
  virtual void ended(const TransferItem&, const OVFileOperation&, OSStatus) {}
};

/// One line on a terminal, written over and over.
std::unique_ptr<TransferReporter> makeLiveReporter();

/// Plain lines: each item's beginning, every tenth of it, its end.
std::unique_ptr<TransferReporter> makePlainReporter();

/// One JSON object a line for every report, for programs.
std::unique_ptr<TransferReporter> makeJSONReporter();

/// Nothing at all.
std::unique_ptr<TransferReporter> makeQuietReporter();

}  // namespace kestova::tool
