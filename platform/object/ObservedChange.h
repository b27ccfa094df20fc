// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSDictionary.h>

#include <utility>

namespace kestova {

/// Whether a change is to come or has been made.
enum class ChangeMoment { Before, After };

/// What an observer is told of a change: a dictionary in one piece, without a table. A value that
/// is null is not in it.
///
/// What is told of the end is made when the change begins, so that no memory can be missing then.
/// Nothing of it changes once somebody has been told.
class ObservedChange final : public NSDictionary {
 public:
  ObservedChange(ChangeMoment moment, id oldValue)
      : moment_(moment), oldValue_(std::move(oldValue)) {}

  /// The value after the change; null for none, as at first.
  void setNewValue(id value) noexcept { newValue_ = std::move(value); }

  NSUInteger count() const override;
  id objectForKey(const id& key) const override;
  Ref<NSEnumerator> keyEnumerator() const override;
  id copy() const override { return self(); }

 private:
  id objectUnder(const StringConstant& key) const;

  const ChangeMoment moment_;
  const id oldValue_;
  id newValue_;
};

/// One without values, which is one object for all changes.
const Ref<NSDictionary>& changeWithoutValues(ChangeMoment moment);

}  // namespace kestova
