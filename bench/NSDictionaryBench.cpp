// SPDX-License-Identifier: Apache-2.0
// Looking up, filling and walking through a dictionary by string keys of 21 bytes, beside
// absl::flat_hash_map and QHash.
#include <KestovaPlatform/NSDictionary.h>

#include "TextKeys.h"
#include "ThreadedRun.h"

#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <QHash>

#include <memory>
#include <string>
#include <vector>

namespace {

using namespace kestova;
using bench::askedKeysOf;
using bench::keysOf;

using Shared = std::shared_ptr<int>;

std::size_t countOf(const benchmark::State& state) {
  return static_cast<std::size_t>(state.range(0));
}

Ref<NSMutableDictionary> filledHere(const std::vector<id>& keys) {
  const auto dictionary = NSMutableDictionary::dictionary();
  for (const id& key : keys) {
    dictionary->setObject_forKey(key, key);
  }
  return dictionary;
}

template <class Map, class Key>
Map filled(const std::vector<Key>& keys) {
  Map map;
  const auto object = std::make_shared<int>(1);
  for (const Key& key : keys) {
    map.insert_or_assign(key, object);
  }
  return map;
}

using FlatMap = absl::flat_hash_map<std::string, Shared>;

QHash<QString, Shared> filledQt(const std::vector<QString>& keys) {
  QHash<QString, Shared> map;
  const auto object = std::make_shared<int>(1);
  for (const QString& key : keys) {
    map.insert(key, object);
  }
  return map;
}

/// Asks for one key after the other, around and around.
template <class Keys, class Find>
void lookUp(benchmark::State& state, const Keys& asked, const Find& find) {
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(find(asked[next]));
    next = next + 1 == asked.size() ? 0 : next + 1;
  }
}

void FindHere(benchmark::State& state) {
  const auto dictionary = filledHere(keysOf<id>(countOf(state)));
  lookUp(state, askedKeysOf<id>(countOf(state)),
         [&](const id& key) { return dictionary->objectForKey(key); });
}

void FindAbsl(benchmark::State& state) {
  const auto map = filled<FlatMap>(keysOf<std::string>(countOf(state)));
  lookUp(state, askedKeysOf<std::string>(countOf(state)),
         [&](const std::string& key) { return map.find(key)->second; });
}

/// Without counting a reference to what was found.
void FindAbslUncounted(benchmark::State& state) {
  const auto map = filled<FlatMap>(keysOf<std::string>(countOf(state)));
  lookUp(state, askedKeysOf<std::string>(countOf(state)),
         [&](const std::string& key) { return map.find(key)->second.get(); });
}

void FindQHash(benchmark::State& state) {
  const auto map = filledQt(keysOf<QString>(countOf(state)));
  lookUp(state, askedKeysOf<QString>(countOf(state)),
         [&](const QString& key) { return map.find(key).value(); });
}

void FillHere(benchmark::State& state) {
  const auto keys = keysOf<id>(countOf(state));
  for (auto _ : state) {
    benchmark::DoNotOptimize(filledHere(keys));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void FillAbsl(benchmark::State& state) {
  const auto keys = keysOf<std::string>(countOf(state));
  for (auto _ : state) {
    benchmark::DoNotOptimize(filled<FlatMap>(keys));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void FillQHash(benchmark::State& state) {
  const auto keys = keysOf<QString>(countOf(state));
  for (auto _ : state) {
    benchmark::DoNotOptimize(filledQt(keys));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void WalkHere(benchmark::State& state) {
  const auto dictionary = filledHere(keysOf<id>(countOf(state)));
  for (auto _ : state) {
    for (const id& key : dictionary) {
      benchmark::DoNotOptimize(key.get());
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void WalkAbsl(benchmark::State& state) {
  const auto map = filled<FlatMap>(keysOf<std::string>(countOf(state)));
  for (auto _ : state) {
    for (const auto& entry : map) {
      benchmark::DoNotOptimize(&entry);
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

using SharedText = std::shared_ptr<std::string>;

template <class String>
String stringOf(const std::string& text) {
  if constexpr (std::is_same_v<String, SharedText>) {
    return std::make_shared<std::string>(text);
  } else {
    return text;
  }
}

/// How many blocks of memory a string is.
std::size_t blocksOf(const id&) { return 1; }
std::size_t blocksOf(const SharedText& text) {
  return text->capacity() > std::string().capacity() ? 2 : 1;
}

/// What one string of so many characters takes, as the counter "bytes", and with what the allocator
/// spends on it as "heap".
template <class String>
void StringMemory(benchmark::State& state) {
  constexpr std::size_t kCount = 100'000;
  const std::string text(static_cast<std::size_t>(state.range(0)), 'x');
  std::size_t used = 0;
  std::size_t usable = 0;
  for (auto _ : state) {
    std::vector<String> strings;
    strings.reserve(kCount);
    const auto before = mallinfo2().uordblks;
    for (std::size_t number = 0; number < kCount; ++number) {
      strings.push_back(stringOf<String>(text));
    }
    used = mallinfo2().uordblks - before;
    usable = used - kCount * blocksOf(strings.front()) * sizeof(std::size_t);
  }
  state.counters["bytes"] = static_cast<double>(usable) / kCount;
  state.counters["heap"] = static_cast<double>(used) / kCount;
}

#define IN_TWO_SIZES(name) BENCHMARK(name)->Arg(1'000)->Arg(100'000)

IN_TWO_SIZES(FindHere);
IN_TWO_SIZES(FindAbsl);
IN_TWO_SIZES(FindAbslUncounted);
IN_TWO_SIZES(FindQHash);
IN_TWO_SIZES(FillHere);
IN_TWO_SIZES(FillAbsl);
IN_TWO_SIZES(FillQHash);
IN_TWO_SIZES(WalkHere);
IN_TWO_SIZES(WalkAbsl);
BENCHMARK_TEMPLATE(StringMemory, id)->Arg(8)->Arg(16)->Arg(20)->Arg(22);
BENCHMARK_TEMPLATE(StringMemory, SharedText)->Arg(8)->Arg(16)->Arg(20)->Arg(22);

}  // namespace

int main(int argc, char** argv) { return kestova::bench::runThreaded(argc, argv); }
