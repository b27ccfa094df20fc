// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSDictionary.h>

namespace kestova {

/// Whether a change is to come or has been made.
enum class ChangeMoment { Before, After };

/// What an observer is told of a change: an immutable dictionary in one piece, without a table.
/// `oldValue` and `newValue` are in it where they are given.
Ref<NSDictionary> observedChange(ChangeMoment moment, id oldValue, id newValue);

/// The same without values, which is one object for all changes.
const Ref<NSDictionary>& observedChange(ChangeMoment moment);

}  // namespace kestova
