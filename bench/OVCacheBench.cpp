// SPDX-License-Identifier: Apache-2.0
// Hits, and insertions that each remove the oldest item, with string keys of 21 bytes, beside
// QCache and absl::flat_hash_map with a std::list.
#include <KestovaFoundation/OVCache.h>

#include "TextKeys.h"
#include "ThreadedRun.h"

#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>
#include <QCache>

#include <iterator>
#include <list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace kestova;
using bench::askedKeysOf;
using bench::keysOf;

using Shared = std::shared_ptr<int>;

/// What a list in order of use and a hash table make of it.
class ListCache {
 public:
  explicit ListCache(std::size_t limit) : limit_(limit) {}

  Shared find(const std::string& key) {
    const auto found = places_.find(key);
    if (found == places_.end()) {
      return nullptr;
    }
    entries_.splice(entries_.begin(), entries_, found->second);
    return found->second->second;
  }

  void insert(const std::string& key, Shared object) {
    if (entries_.size() == limit_) {
      places_.erase(entries_.back().first);
      entries_.pop_back();
    }
    entries_.emplace_front(key, std::move(object));
    places_.emplace(key, entries_.begin());
  }

 private:
  using Entries = std::list<std::pair<std::string, Shared>>;

  std::size_t limit_;
  Entries entries_;
  absl::flat_hash_map<std::string, Entries::iterator> places_;
};

class Repeating final : public OVCacheGenerator {
 public:
  id generateObjectForKey(const id& key) override { return key; }
};

std::size_t limitOf(const benchmark::State& state) {
  return static_cast<std::size_t>(state.range(0));
}

/// Does it with one key after the other, around and around.
template <class Keys, class Operation>
void withEach(benchmark::State& state, const Keys& keys, const Operation& operation) {
  std::size_t next = 0;
  for (auto _ : state) {
    operation(keys[next]);
    next = next + 1 == keys.size() ? 0 : next + 1;
  }
}

void HitHere(benchmark::State& state) {
  const auto cache = OVCache::lruCacheWithFixedCount(limitOf(state));
  for (const id& key : keysOf<id>(limitOf(state))) {
    cache->setObject_forKey(key, key);
  }
  withEach(state, askedKeysOf<id>(limitOf(state)),
           [&](const id& key) { benchmark::DoNotOptimize(cache->objectForKey(key)); });
}

/// Each hit also reads the clock and keeps the date.
void HitHereWithGenerator(benchmark::State& state) {
  const auto cache = OVCache::lruCacheWithGenerator_fixedCount(make<Repeating>(), limitOf(state));
  const auto keys = keysOf<id>(limitOf(state));
  for (const id& key : keys) {
    benchmark::DoNotOptimize(cache->objectForKey(key));
  }
  withEach(state, askedKeysOf<id>(limitOf(state)),
           [&](const id& key) { benchmark::DoNotOptimize(cache->objectForKey(key)); });
}

void HitQCache(benchmark::State& state) {
  QCache<QString, Shared> cache(static_cast<qsizetype>(limitOf(state)));
  for (const QString& key : keysOf<QString>(limitOf(state))) {
    cache.insert(key, new Shared(std::make_shared<int>(1)));
  }
  withEach(state, askedKeysOf<QString>(limitOf(state)),
           [&](const QString& key) { benchmark::DoNotOptimize(Shared(*cache.object(key))); });
}

void HitListCache(benchmark::State& state) {
  ListCache cache(limitOf(state));
  for (const std::string& key : keysOf<std::string>(limitOf(state))) {
    cache.insert(key, std::make_shared<int>(1));
  }
  withEach(state, askedKeysOf<std::string>(limitOf(state)),
           [&](const std::string& key) { benchmark::DoNotOptimize(cache.find(key)); });
}

void InsertHere(benchmark::State& state) {
  const auto cache = OVCache::lruCacheWithFixedCount(limitOf(state));
  const auto keys = keysOf<id>(2 * limitOf(state));
  for (const id& key : keys) {
    cache->setObject_forKey(key, key);
  }
  withEach(state, keys, [&](const id& key) { cache->setObject_forKey(key, key); });
}

void InsertQCache(benchmark::State& state) {
  QCache<QString, Shared> cache(static_cast<qsizetype>(limitOf(state)));
  const auto object = std::make_shared<int>(1);
  const auto keys = keysOf<QString>(2 * limitOf(state));
  for (const QString& key : keys) {
    cache.insert(key, new Shared(object));
  }
  withEach(state, keys, [&](const QString& key) { cache.insert(key, new Shared(object)); });
}

void InsertListCache(benchmark::State& state) {
  ListCache cache(limitOf(state));
  const auto object = std::make_shared<int>(1);
  const auto keys = keysOf<std::string>(2 * limitOf(state));
  for (const std::string& key : keys) {
    cache.insert(key, object);
  }
  withEach(state, keys, [&](const std::string& key) { cache.insert(key, object); });
}

#define IN_TWO_SIZES(name) BENCHMARK(name)->Arg(100)->Arg(1'000)

IN_TWO_SIZES(HitHere);
IN_TWO_SIZES(HitHereWithGenerator);
IN_TWO_SIZES(HitQCache);
IN_TWO_SIZES(HitListCache);
IN_TWO_SIZES(InsertHere);
IN_TWO_SIZES(InsertQCache);
IN_TWO_SIZES(InsertListCache);

}  // namespace

int main(int argc, char** argv) { return kestova::bench::runThreaded(argc, argv); }
