// SPDX-License-Identifier: Apache-2.0
// The size of a tree of 200,000 empty files in 2,000 folders, beside du. TMPDIR names the folder to
// work in, and so the file system. Both find everything in the kernel's caches; du is a process of
// its own in each round, which costs it about a millisecond.
#include <KestovaFoundation/Additions/NSFileManagerAdditions.h>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;

constexpr int kFolders = 2000;
constexpr int kFilesPerFolder = 100;

/// The tree, made once.
class Tree {
 public:
  static const Tree& shared() {
    static const Tree tree;
    return tree;
  }

  const std::string& path() const { return path_; }

  ~Tree() { fs::remove_all(path_); }

 private:
  Tree() : path_(fs::temp_directory_path() / ("kestova-bench-" + std::to_string(getpid()))) {
    for (int folder = 0; folder < kFolders; ++folder) {
      const std::string name = path_ + "/folder-" + std::to_string(folder);
      fs::create_directories(name);
      for (int file = 0; file < kFilesPerFolder; ++file) {
        close(creat((name + "/file-" + std::to_string(file)).c_str(), 0644));
      }
    }
  }

  std::string path_;
};

template <class Measure>
void measureTree(benchmark::State& state, Measure measure) {
  const std::string& path = Tree::shared().path();
  measure(path);
  for (auto _ : state) {
    measure(path);
  }
  state.SetItemsProcessed(state.iterations() * kFolders * kFilesPerFolder);
}

void Here(benchmark::State& state) {
  const auto files = kestova::NSFileManager::defaultManager();
  measureTree(state, [&](const std::string& path) {
    benchmark::DoNotOptimize(kestova::sizeOfItemAtPath_options(
        files, kestova::NSString::stringWithFileSystemRepresentation(path), 0));
  });
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  state.counters["peakKiB"] = static_cast<double>(usage.ru_maxrss);
}

void Du(benchmark::State& state) {
  measureTree(state, [](const std::string& path) {
    const std::string command = "exec du -s --apparent-size '" + path + "' >/dev/null";
    if (std::system(command.c_str()) != 0) {
      std::abort();
    }
  });
}

BENCHMARK(Here)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(Du)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
