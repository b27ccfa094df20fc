// SPDX-License-Identifier: Apache-2.0
// A cache that makes what it lacks, settings by path, keys in any letter case, arrays in a row, and
// objects from one thread to another.
#include <KestovaFoundation/KestovaFoundation.h>
#include <KestovaPlatform/KestovaPlatform.h>

#include <iostream>
#include <thread>

using namespace kestova;

class Squares : public OVCacheGenerator {
 public:
  id generateObjectForKey(const id& key) override {
    const NSInteger number = cast<NSNumber>(key)->integerValue();
    std::cout << "making " << number << '\n';
    return number * number;
  }
};

int main() {
  const auto squares = OVCache::lruCacheWithGenerator_fixedCount(make<Squares>(), 2);
  for (const int number : {3, 4, 3, 5, 4}) {  // 5 takes the place of 4
    const id square = squares->objectForKey(number);
    std::cout << number << " squared is " << square << '\n';
  }

  const auto settings = OVMutableKeyPathDictionary::init();
  settings->setObject_forKeys(12, "editor", "font", "size");
  std::cout << settings->objectForKeys("editor", "font", "size") << '\n';

  const auto headers = OVMutableCaseInsensitiveStringDictionary::init();
  headers->setObject_forKey("text/plain", "Content-Type");
  std::cout << headers->objectForKey("content-type") << '\n';

  const auto rows =
      OVFlattenedArray::initWithArrays(NSArray::of(NSArray::of("a", "b"), NSArray::of("c")));
  std::cout << rows->objectAtIndex(2) << " of array "
            << rows->arrayIndexForObjectAtFlattenedIndex(2) << '\n';

  const auto pages = OVThreadSafeQueue::initWithMaximumCapacity(100);
  std::thread producer([&] {
    pages->enqueue("page 1");
    pages->enqueue("page 2");
    pages->enqueue(NSNull::null());  // the end: gets through even where the queue is full
  });
  for (id page = pages->dequeue(); page != NSNull::null(); page = pages->dequeue()) {
    std::cout << page << '\n';
  }
  producer.join();
}
