// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "files/TransferControl.h"
#include "files/TransferEndpoints.h"

namespace kestova {

/// Looks at a whole source before anything is made: counts objects and bytes into the control's
/// progress, and fails the control when something is certain to stand in the way of the copy, such
/// as a full or read-only destination.
///
/// Cost: one system call per regular file and four per folder, on up to two threads.
void preflightCopy(TransferControl& control, const TransferEndpoints& endpoints,
                   bool skipsUnreadable);

}  // namespace kestova
