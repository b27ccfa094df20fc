// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSSortDescriptor.h>

#include <algorithm>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSSortDescriptor, .property<&NSSortDescriptor::key>("key")
                                           .property<&NSSortDescriptor::ascending>("ascending"))

namespace {

/// The comparison that an object's own class has; null when it has none.
SEL comparisonOf(const NSObject& object) {
  constexpr SEL kComparisons[] = {sel<&NSString::compare>(), sel<&NSNumber::compare>(),
                                  sel<&NSDate::compare>()};
  const auto* found = std::ranges::find_if(
      kComparisons, [&](SEL comparison) { return comparison->isAnsweredBy(object); });
  return found == std::end(kComparisons) ? nullptr : *found;
}

/// "compare:" as each class understands it.
constexpr SelectorBody kCompare{
    [](NSObject& target, std::span<const id> arguments) {
      const SEL comparison = comparisonOf(target);
      return comparison == nullptr ? throw std::bad_cast() : comparison->perform(target, arguments);
    },
    [](const NSObject& target) { return comparisonOf(target) != nullptr; }, 1};

NSComparisonResult reversed(NSComparisonResult result) {
  return static_cast<NSComparisonResult>(-static_cast<NSInteger>(result));
}

}  // namespace

NSSortDescriptor::NSSortDescriptor(Ref<NSString> key, bool ascending, SEL selector,
                                   NSComparator comparator)
    : key_(std::move(key)),
      ascending_(ascending),
      selector_(selector == nullptr ? &kCompare : selector),
      comparator_(std::move(comparator)) {}

Ref<NSSortDescriptor> NSSortDescriptor::sortDescriptorWithKey_ascending(const Ref<NSString>& key,
                                                                        bool ascending) {
  return sortDescriptorWithKey_ascending_selector(key, ascending, nullptr);
}

Ref<NSSortDescriptor> NSSortDescriptor::sortDescriptorWithKey_ascending_selector(
    const Ref<NSString>& key, bool ascending, SEL selector) {
  return make<NSSortDescriptor>(copyOf(key), ascending, selector, NSComparator());
}

Ref<NSSortDescriptor> NSSortDescriptor::sortDescriptorWithKey_ascending_comparator(
    const Ref<NSString>& key, bool ascending, const NSComparator& comparator) {
  return make<NSSortDescriptor>(copyOf(key), ascending, nullptr, comparator);
}

NSComparisonResult NSSortDescriptor::compareObject_toObject(const id& first,
                                                            const id& second) const {
  const auto valueOf = [this](const id& object) {
    return key_ && object ? object->valueForKeyPath(key_) : object;
  };
  const NSComparisonResult result = compareValues(valueOf(first), valueOf(second));
  return ascending_ ? result : reversed(result);
}

NSComparisonResult NSSortDescriptor::compareValues(const id& first, const id& second) const {
  if (!first || !second) {
    return !first && !second ? NSOrderedSame : first ? NSOrderedDescending : NSOrderedAscending;
  }
  return comparator_
             ? comparator_(first, second)
             : Unboxing<NSComparisonResult>::unbox(selector_->perform(*first, {&second, 1}));
}

Ref<NSSortDescriptor> NSSortDescriptor::reversedSortDescriptor() const {
  return make<NSSortDescriptor>(key_, !ascending_, selector_, comparator_);
}

bool NSSortDescriptor::isEqual(const id& other) const {
  const auto descriptor = cast<NSSortDescriptor>(other);
  return descriptor && isEqualOrBothNull(key_, descriptor->key_) &&
         ascending_ == descriptor->ascending_ && selector_ == descriptor->selector_ &&
         comparator_ == descriptor->comparator_;
}

NSUInteger NSSortDescriptor::hash() const { return (key_ ? key_->hash() : 0) + ascending_; }

Ref<NSString> NSSortDescriptor::description() const {
  return NSString::stringWithFormat("%@(%@, %s)", NSObject::description(),
                                    key_ ? key_ : Ref<NSString>("self"),
                                    ascending_ ? "ascending" : "descending");
}

id NSSortDescriptor::copy() const { return self(); }

}  // namespace kestova
