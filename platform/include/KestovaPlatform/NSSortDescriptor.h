// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>
#include <KestovaPlatform/Selector.h>

namespace kestova {

/// One criterion for sorting: a property of the objects, a direction, and how values compare.
///
///     auto byName = NSSortDescriptor::sortDescriptorWithKey_ascending("owner.name", true);
///     Ref<NSArray> sorted = accounts->sortedArrayUsingDescriptors(NSArray::of(byName));
///
/// The key is a dotted path (key-value coding); null compares the objects themselves. An object or
/// value that is nothing comes before all others, so behind all others when descending; the
/// comparison is never asked about it.
///
/// A subclass may override `compareObject_toObject`.
///
/// Threads: immutable, so any number of them may use one descriptor at a time.
class KESTOVA_PLATFORM_EXPORT NSSortDescriptor : public NSObject {
  KESTOVA_CLASS(NSSortDescriptor, NSObject)

 public:
  /// \name Making
  /// @{

  /// Compares as the values' class does: with `compare` of NSString, NSNumber and NSDate. A value
  /// of another class throws std::bad_cast when it is compared.
  static Ref<NSSortDescriptor> sortDescriptorWithKey_ascending(const Ref<NSString>& key,
                                                               bool ascending);

  /// `selector` is an operation of the values that takes the other value and answers an
  /// NSComparisonResult, such as `sel<&NSString::compare>()`; null is the comparison above.
  static Ref<NSSortDescriptor> sortDescriptorWithKey_ascending_selector(const Ref<NSString>& key,
                                                                        bool ascending,
                                                                        SEL selector);

  /// An empty comparator is the comparison above.
  static Ref<NSSortDescriptor> sortDescriptorWithKey_ascending_comparator(
      const Ref<NSString>& key, bool ascending, const NSComparator& comparator);

  /// @}
  /// \name Reading
  /// @{
  Ref<NSString> key() const { return key_; }
  bool ascending() const noexcept { return ascending_; }

  /// Null when there is a comparator.
  SEL selector() const noexcept { return comparator_ ? nullptr : selector_; }

  /// Empty when there is a selector.
  NSComparator comparator() const { return comparator_; }
  /// @}

  /// How the first object stands to the second one in the order that this descriptor makes.
  virtual NSComparisonResult compareObject_toObject(const id& first, const id& second) const;

  /// The same in the other direction.
  Ref<NSSortDescriptor> reversedSortDescriptor() const;

  /// Whether key, direction and comparison are the same; comparators by identity.
  bool isEqual(const id& other) const override;
  NSUInteger hash() const override;

  /// "<NSSortDescriptor: 0x…>(name, ascending)".
  Ref<NSString> description() const override;

  /// This descriptor itself.
  id copy() const override;

 protected:
  NSSortDescriptor(Ref<NSString> key, bool ascending, SEL selector, NSComparator comparator);

 private:
  NSComparisonResult compareValues(const id& first, const id& second) const;

  const Ref<NSString> key_;
  const bool ascending_;
  const SEL selector_;
  const NSComparator comparator_;
};

}  // namespace kestova
