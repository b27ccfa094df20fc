// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVUtilities.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSNull.h>

#include <cstddef>
#include <span>
#include <utility>
#include <vector>

namespace kestova {
namespace {

/// Hands out the pairs of a list that have a value.
template <class Take>
void takePairs(std::initializer_list<id> keysAndValues, Take&& take) {
  const std::span<const id> list(keysAndValues.begin(), keysAndValues.size());
  for (std::size_t place = 0; place + 1 < list.size(); place += 2) {
    const id& key = list[place];
    if (!key && place > 0) {
      return;
    }
    if (const id& value = list[place + 1]; value) {
      take(key, value);
    }
  }
}

}  // namespace

Ref<NSDictionary> detail::dictionaryWithKeysAndValues(std::initializer_list<id> keysAndValues) {
  std::vector<id> keys, values;
  takePairs(keysAndValues, [&](const id& key, const id& value) {
    keys.push_back(key);
    values.push_back(value);
  });
  return NSDictionary::dictionaryWithObjects_forKeys(NSArray::arrayWithObjects(std::move(values)),
                                                     NSArray::arrayWithObjects(std::move(keys)));
}

Ref<NSMutableDictionary> detail::mutableDictionaryWithKeysAndValues(
    std::initializer_list<id> keysAndValues) {
  const auto dictionary = NSMutableDictionary::dictionary();
  takePairs(keysAndValues,
            [&](const id& key, const id& value) { dictionary->setObject_forKey(value, key); });
  return dictionary;
}

id detail::firstValue(std::initializer_list<id> values) {
  for (const id& value : values) {
    if (value) {
      return value == NSNull::null() ? nullptr : value;
    }
  }
  return nullptr;
}

void __AllowOnceEvery(const Block<void()>& block, CFAbsoluteTime* lastTime,
                      NSTimeInterval interval) {
  require(lastTime != nullptr, "lastTime != nil");
  const CFAbsoluteTime now = CFAbsoluteTimeGetCurrent();
  if (now - *lastTime > interval) {
    *lastTime = now;
    block();
  }
}

void EnforceSubclassesImplement() noexcept {}

void EnforceSubclassImplementationsNow() noexcept {}

}  // namespace kestova
