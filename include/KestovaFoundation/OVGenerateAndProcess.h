// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/NSObject.h>

namespace kestova {

/// Processes items while the next ones are being made: a pipeline of two stages.
///
///     OVGenerateAndProcess([&] { return readNextPage(); },
///                          [&](const id& page) { print(cast<Page>(page)); });
///
/// `generator` is called for one item after the other until it answers null, `processor` with each
/// item in that order; the generator works on an item while the processor works on the one before.
/// Returns when the generator has answered null and every item has been processed.
///
/// Threads: any may call it, and waits. Both blocks run on the global queue of default priority;
/// the generator never beside itself, nor the processor, and each sees what all earlier calls did.
/// An exception that leaves one of them ends the process. Both blocks are required.
KESTOVA_FOUNDATION_EXPORT void OVGenerateAndProcess(const Block<id()>& generator,
                                                    const Block<void(const id& item)>& processor);

}  // namespace kestova
