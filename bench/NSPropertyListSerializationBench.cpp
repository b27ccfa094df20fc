// SPDX-License-Identifier: Apache-2.0
// Dictionaries of texts and numbers in the binary format, beside libplist.
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>

#include <benchmark/benchmark.h>
#include <plist/plist.h>

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

using namespace kestova;

/// Half of the values are texts, half are integers; no two keys and no two values are the same.
std::string keyAt(std::int64_t index) { return "key number " + std::to_string(index); }
std::string textAt(std::int64_t index) { return "value number " + std::to_string(index); }
bool isText(std::int64_t index) { return index % 2 == 0; }

Ref<NSDictionary> dictionaryOf(std::int64_t count) {
  const auto dictionary =
      NSMutableDictionary::dictionaryWithCapacity(static_cast<NSUInteger>(count));
  for (std::int64_t index = 0; index < count; ++index) {
    dictionary->setObject_forKey(isText(index) ? id(textAt(index)) : id(index), keyAt(index));
  }
  return dictionary;
}

plist_t peerDictionaryOf(std::int64_t count) {
  plist_t dictionary = plist_new_dict();
  for (std::int64_t index = 0; index < count; ++index) {
    plist_dict_set_item(dictionary, keyAt(index).c_str(),
                        isText(index) ? plist_new_string(textAt(index).c_str())
                                      : plist_new_uint(static_cast<std::uint64_t>(index)));
  }
  return dictionary;
}

Ref<NSData> write(const id& list, NSPropertyListFormat format) {
  return NSPropertyListSerialization::dataWithPropertyList_format_options_error(list, format, 0);
}

id read(const Ref<NSData>& data, NSUInteger options = NSPropertyListImmutable) {
  return NSPropertyListSerialization::propertyListWithData_options_format_error(data, options);
}

void countKeys(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <NSPropertyListFormat format>
void WriteHere(benchmark::State& state) {
  const auto dictionary = dictionaryOf(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(write(dictionary, format)->length());
  }
  countKeys(state);
}

template <NSPropertyListFormat format>
void WriteLibplist(benchmark::State& state) {
  plist_t dictionary = peerDictionaryOf(state.range(0));
  for (auto _ : state) {
    char* bytes = nullptr;
    std::uint32_t length = 0;
    if constexpr (format == NSPropertyListBinaryFormat_v1_0) {
      plist_to_bin(dictionary, &bytes, &length);
    } else {
      plist_to_xml(dictionary, &bytes, &length);
    }
    benchmark::DoNotOptimize(length);
    std::free(bytes);
  }
  plist_free(dictionary);
  countKeys(state);
}

template <NSPropertyListFormat format, NSUInteger options>
void ReadHere(benchmark::State& state) {
  const auto data = write(dictionaryOf(state.range(0)), format);
  for (auto _ : state) {
    benchmark::DoNotOptimize(read(data, options).get());
  }
  countKeys(state);
}

template <NSPropertyListFormat format>
void ReadLibplist(benchmark::State& state) {
  const auto data = write(dictionaryOf(state.range(0)), format);
  const auto* bytes = reinterpret_cast<const char*>(data->bytes());
  const auto length = static_cast<std::uint32_t>(data->length());
  for (auto _ : state) {
    plist_t list = nullptr;
    if constexpr (format == NSPropertyListBinaryFormat_v1_0) {
      plist_from_bin(bytes, length, &list);
    } else {
      plist_from_xml(bytes, length, &list);
    }
    benchmark::DoNotOptimize(list);
    plist_free(list);
  }
  countKeys(state);
}

/// One key after the other in a dictionary that was read.
void LookUpHere(benchmark::State& state) {
  const auto data = write(dictionaryOf(state.range(0)), NSPropertyListBinaryFormat_v1_0);
  const auto dictionary = cast<NSDictionary>(read(data));
  std::int64_t index = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(dictionary->objectForKey(keyAt(index)).get());
    index = (index + 7919) % state.range(0);
  }
}

void LookUpLibplist(benchmark::State& state) {
  const auto data = write(dictionaryOf(state.range(0)), NSPropertyListBinaryFormat_v1_0);
  plist_t dictionary = nullptr;
  plist_from_bin(reinterpret_cast<const char*>(data->bytes()),
                 static_cast<std::uint32_t>(data->length()), &dictionary);
  std::int64_t index = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(plist_dict_get_item(dictionary, keyAt(index).c_str()));
    index = (index + 7919) % state.range(0);
  }
  plist_free(dictionary);
}

constexpr auto kBinary = NSPropertyListBinaryFormat_v1_0;
constexpr auto kXML = NSPropertyListXMLFormat_v1_0;

void sizes(benchmark::internal::Benchmark* bench) {
  bench->Arg(1000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
}

BENCHMARK_TEMPLATE(WriteHere, kBinary)->Apply(sizes);
BENCHMARK_TEMPLATE(WriteLibplist, kBinary)->Apply(sizes);
BENCHMARK_TEMPLATE(ReadHere, kBinary, NSPropertyListImmutable)->Apply(sizes);
BENCHMARK_TEMPLATE(ReadHere, kBinary, NSPropertyListMutableContainers)->Apply(sizes);
BENCHMARK_TEMPLATE(ReadLibplist, kBinary)->Apply(sizes);
BENCHMARK_TEMPLATE(WriteHere, kXML)->Apply(sizes);
BENCHMARK_TEMPLATE(WriteLibplist, kXML)->Apply(sizes);
BENCHMARK_TEMPLATE(ReadHere, kXML, NSPropertyListImmutable)->Apply(sizes);
BENCHMARK_TEMPLATE(ReadLibplist, kXML)->Apply(sizes);
BENCHMARK(LookUpHere)->Arg(1000)->Arg(100'000);
BENCHMARK(LookUpLibplist)->Arg(1000)->Arg(100'000);

}  // namespace

BENCHMARK_MAIN();
