// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kestova {

/// How the main thread's run loop serves the main dispatch queue.
namespace MainQueue {

/// A descriptor that is readable when the main queue has tasks; libdispatch's own.
int descriptor();

/// Runs the tasks that wait; on the main thread. Within one of them it runs nothing: what waits
/// then makes the descriptor readable again when that task has ended.
void drain();

}  // namespace MainQueue

}  // namespace kestova
