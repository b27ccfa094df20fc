// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "files/TransferControl.h"
#include "files/TransferEndpoints.h"

namespace kestova {

/// Removes the source of a move whose complete copy has taken its place in the destination.
///
/// Only what has its equal there goes: an entry that came, or a file that changed, after it was
/// copied stays and fails the control with EBUSY. What was left out because it may not be read
/// stays, with the folders that lead to it, and is no failure (`skipsUnreadable`).
void removeMovedSource(TransferControl& control, const TransferEndpoints& endpoints,
                       bool skipsUnreadable);

}  // namespace kestova
