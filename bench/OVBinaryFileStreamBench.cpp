// SPDX-License-Identifier: Apache-2.0
// Typed values in a file, beside plain fwrite and fread of the C library with its own buffer.
#include <KestovaFoundation/OVBinaryFileStream.h>

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using kestova::OVBinaryFileStream;

/// Each round is one 32-bit integer, one 64-bit integer and one double.
constexpr int kRounds = 1'000'000;
constexpr int kValues = 3 * kRounds;

/// A file in the folder that TMPDIR names, else in /tmp.
class BenchFile {
 public:
  BenchFile() {
    const char* folder = std::getenv("TMPDIR");
    path_ = std::string(folder == nullptr ? "/tmp" : folder) + "/kestova-bench-" +
            std::to_string(getpid());
  }
  ~BenchFile() { unlink(path_.c_str()); }
  BenchFile(const BenchFile&) = delete;
  BenchFile& operator=(const BenchFile&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

void writeHere(const std::string& path) {
  const auto stream = OVBinaryFileStream::initWithFilePath(path);
  stream->open_error(kestova::OVBinaryStreamOpenForWriting);
  for (int i = 0; i < kRounds; ++i) {
    stream->writeUInt32(static_cast<std::uint32_t>(i));
    stream->writeUInt64(static_cast<std::uint64_t>(i) * 3);
    stream->writeDouble(i * 0.5);
  }
}

template <class T>
void put(T value, std::FILE* file) {
  std::fwrite(&value, sizeof value, 1, file);
}

template <class T>
T get(std::FILE* file) {
  T value{};
  if (std::fread(&value, sizeof value, 1, file) != 1) {
    std::abort();
  }
  return value;
}

void writePlain(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  for (int i = 0; i < kRounds; ++i) {
    put(static_cast<std::uint32_t>(i), file);
    put(static_cast<std::uint64_t>(i) * 3, file);
    put(i * 0.5, file);
  }
  std::fclose(file);
}

void WriteHere(benchmark::State& state) {
  const BenchFile file;
  for (auto _ : state) {
    writeHere(file.path());
  }
  state.SetItemsProcessed(state.iterations() * kValues);
}

void WriteFwrite(benchmark::State& state) {
  const BenchFile file;
  for (auto _ : state) {
    writePlain(file.path());
  }
  state.SetItemsProcessed(state.iterations() * kValues);
}

void ReadHere(benchmark::State& state) {
  const BenchFile file;
  writeHere(file.path());
  for (auto _ : state) {
    const auto stream = OVBinaryFileStream::initWithFilePath(file.path());
    stream->open_error(kestova::OVBinaryStreamOpenForReading);
    double sum = 0;
    for (int i = 0; i < kRounds; ++i) {
      sum += stream->readUInt32();
      sum += static_cast<double>(stream->readUInt64());
      sum += stream->readDouble();
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kValues);
}

void ReadFread(benchmark::State& state) {
  const BenchFile file;
  writePlain(file.path());
  for (auto _ : state) {
    std::FILE* stream = std::fopen(file.path().c_str(), "rb");
    double sum = 0;
    for (int i = 0; i < kRounds; ++i) {
      sum += get<std::uint32_t>(stream);
      sum += static_cast<double>(get<std::uint64_t>(stream));
      sum += get<double>(stream);
    }
    std::fclose(stream);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kValues);
}

BENCHMARK(WriteHere)->Unit(benchmark::kMillisecond);
BENCHMARK(WriteFwrite)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadHere)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadFread)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
