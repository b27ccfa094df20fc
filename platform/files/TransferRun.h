// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <utility>

#include "files/StagingArea.h"
#include "files/TransferControl.h"
#include "files/TransferEndpoints.h"
#include "files/TransferRequest.h"

namespace kestova {

/// The stages of a transfer, in their order.
enum class TransferStage { undefined = 0, preflighting = 1, running = 2, complete = 3 };

/// How a transfer ended: an error number, 0 for success, and the path of the item it failed on.
struct TransferOutcome {
  int error = 0;
  std::string item;
};

/// One transfer from its first look at the source to its end, in the calling thread.
///
/// A copy is built in a staging area and renamed when it is complete; a move within a volume is one
/// rename; a move to another volume is a copy, made durable, whose source is removed last. From the
/// renaming on, cancelling has no effect. An item that is replaced exists under the name until the
/// new one is durable and takes it.
///
/// Threads: none of its own; `TreeWalk` starts one more. The calling thread loses its file mode
/// mask.
class TransferRun {
 public:
  using StageObserver = std::function<void(TransferStage)>;

  TransferRun(const TransferRequest& request, const TransferEndpoints& endpoints,
              TransferControl& control, StageObserver enterStage)
      : request_(request),
        ends_(endpoints),
        control_(control),
        enterStage_(std::move(enterStage)) {}

  TransferOutcome run();

 private:
  TransferOutcome begin();
  TransferOutcome outcome(int error) const;
  TransferOutcome failure() const;
  bool moves() const { return request_.kind == TransferKind::move; }
  bool overwrites() const { return request_.has(kTransferOverwrite); }
  bool skipsUnreadable() const { return request_.has(kTransferSkipSourcePermissionErrors); }

  int moveByRenaming();
  int replaceByRenaming();
  int dropFurtherLink();
  int discardReplaced();
  bool isAlreadyThere(const struct stat& existing) const;

  TransferOutcome preflight();
  TransferOutcome copy();
  int commit(StagingArea& staging);
  int flush(const StagingArea& staging) const;
  int setModeAfterwards(mode_t mode) const;
  TransferOutcome removeSource() const;

  const TransferRequest& request_;
  const TransferEndpoints& ends_;
  TransferControl& control_;
  const StageObserver enterStage_;
};

}  // namespace kestova
