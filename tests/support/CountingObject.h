// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

#include <atomic>
#include <utility>

namespace kestova::testing {

/// A value as an object that is counted: how many live shows what leaks, `retainCount` of one shows
/// who holds it how often. Objects of one value are equal; all of them with the same last digit
/// have the same hash, so that tables meet collisions.
class CountingObject final : public NSObject {
 public:
  explicit CountingObject(int value) : value_(value) { ++living; }
  ~CountingObject() override { --living; }

  static int alive() { return living; }

  int value() const { return value_; }

  bool isEqual(const id& other) const override {
    const auto object = cast<CountingObject>(other);
    return object && object->value_ == value_;
  }
  NSUInteger hash() const override { return static_cast<NSUInteger>(value_ % 10); }
  Ref<NSString> description() const override { return std::to_string(value_); }
  id copy() const override { return self(); }

 private:
  static inline std::atomic<int> living{0};

  const int value_;
};

/// The value of a counting object; -1 for nothing.
inline int valueOf(const id& object) {
  const auto counted = cast<CountingObject>(object);
  return counted ? counted->value() : -1;
}

inline id counted(int value) { return make<CountingObject>(value); }

}  // namespace kestova::testing
