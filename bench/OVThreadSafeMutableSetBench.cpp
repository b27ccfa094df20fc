// SPDX-License-Identifier: Apache-2.0
// Nine look-ups and one change of a set of 200,000 keys, from one thread and from two, beside a
// mutex around std::unordered_set and oneTBB. The peers hold the same kind of objects, compared in
// the same way, and once plain numbers, which need no memory of their own.
#include <KestovaFoundation/OVThreadSafeMutableSet.h>
#include <KestovaPlatform/NSNumber.h>

#include <benchmark/benchmark.h>
#include <tbb/concurrent_hash_map.h>

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <random>
#include <unordered_set>
#include <vector>

namespace {

using kestova::id;

constexpr std::uint64_t kKeys = 200'000;

struct SameObject {
  std::size_t operator()(const id& object) const { return hash(object); }
  bool operator()(const id& a, const id& b) const { return equal(a, b); }
  static std::size_t hash(const id& object) { return spread(object->hash()); }
  static bool equal(const id& a, const id& b) { return a == b || a->isEqual(b); }
  static std::size_t spread(std::uint64_t hash) {
    return (hash * 0x9E3779B97F4A7C15U) ^ ((hash * 0x9E3779B97F4A7C15U) >> 32);
  }
};

/// Every key twice, as two equal objects: one to be a member, one to ask with.
struct Objects {
  using Key = id;
  static std::vector<id> make() {
    std::vector<id> keys;
    for (std::uint64_t i = 0; i < kKeys; ++i) {
      keys.emplace_back(static_cast<std::int64_t>(i));
    }
    return keys;
  }
};

struct Numbers {
  using Key = std::uint64_t;
  static std::vector<std::uint64_t> make() {
    std::vector<std::uint64_t> keys;
    for (std::uint64_t i = 0; i < kKeys; ++i) {
      keys.push_back(SameObject::spread(i));
    }
    return keys;
  }
};

struct Here : Objects {
  kestova::Ref<kestova::OVThreadSafeMutableSet> set = kestova::OVThreadSafeMutableSet::init();
  bool contains(const id& key) { return set->containsObject(key); }
  void insert(const id& key) { set->addObject(key); }
  void erase(const id& key) { set->removeObject(key); }
};

template <class Kind, class... Same>
struct MutexAndSet : Kind {
  using Key = typename Kind::Key;
  std::mutex mutex;
  std::unordered_set<Key, Same...> set;
  bool contains(const Key& key) {
    const std::scoped_lock lock(mutex);
    return set.contains(key);
  }
  void insert(const Key& key) {
    const std::scoped_lock lock(mutex);
    set.insert(key);
  }
  void erase(const Key& key) {
    const std::scoped_lock lock(mutex);
    set.erase(key);
  }
};
using MutexAndSetOfObjects = MutexAndSet<Objects, SameObject, SameObject>;
using MutexAndSetOfNumbers = MutexAndSet<Numbers>;

struct TBB : Objects {
  tbb::concurrent_hash_map<id, char, SameObject> set;
  bool contains(const id& key) { return set.count(key) != 0; }
  void insert(const id& key) { set.insert({key, '\0'}); }
  void erase(const id& key) { set.erase(key); }
};

template <class Set>
void LookUpAndChange(benchmark::State& state) {
  static Set* set;
  static std::vector<typename Set::Key> members, keys;
  if (state.thread_index() == 0) {
    members = Set::make();
    keys = Set::make();
    set = new Set;
    for (const auto& member : members) {
      set->insert(member);
    }
  }
  std::minstd_rand random(static_cast<unsigned>(state.thread_index()) + 1);
  bool adds = false;
  std::int64_t found = 0;
  for (auto _ : state) {
    const auto place = random();
    if (place % 10 != 0) {
      found += set->contains(keys[place % kKeys]) ? 1 : 0;
    } else if ((adds = !adds)) {
      set->erase(keys[place % kKeys]);
    } else {
      set->insert(members[place % kKeys]);
    }
  }
  benchmark::DoNotOptimize(found);
  state.SetItemsProcessed(state.iterations());
  if (state.thread_index() == 0) {
    delete set;
  }
}

BENCHMARK(LookUpAndChange<Here>)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(LookUpAndChange<MutexAndSetOfObjects>)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(LookUpAndChange<MutexAndSetOfNumbers>)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(LookUpAndChange<TBB>)->Threads(1)->Threads(2)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
