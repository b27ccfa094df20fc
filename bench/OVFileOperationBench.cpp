// SPDX-License-Identifier: Apache-2.0
// Copies of one large file and of a tree of small ones with all that belongs to them, beside the
// system's commands and GIO. TMPDIR names the folder to work in, and so the file system.
//
// Each round copies to a name that is new and removes the copy outside the measured time: some file
// systems are slow in making again what was just removed. It begins when all is on the disk, or the
// kernel would hold up one copier for what another one has left to be written, and when the free
// memory has been used a moment ago: a virtual machine's host takes back what is free in large
// pieces, and takes fifty times as long to give it again, which would be the time of whoever comes
// first.
#include <KestovaFoundation/OVFileOperation.h>
#include <KestovaPlatform/NSRunLoop.h>

#include <benchmark/benchmark.h>
#include <gio/gio.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using kestova::FSFileOperationRef;
using kestova::Ref;

constexpr std::size_t kLargeFileSize = 512U << 20U;
constexpr int kTreeFolders = 200;
constexpr int kFilesPerFolder = 100;
constexpr std::int64_t kTreeObjects = kTreeFolders * (kFilesPerFolder + 1) + 1;

std::string workFolder() {
  const char* folder = std::getenv("TMPDIR");
  return std::string(folder == nullptr ? "/tmp" : folder) + "/kestova-bench-" +
         std::to_string(getpid());
}

/// The sources, made once and read once, so that every round finds them in memory.
class Sources {
 public:
  static const Sources& shared() {
    static const Sources sources;
    return sources;
  }

  std::string largeFile() const { return folder_ + "/large"; }
  std::string tree() const { return folder_ + "/tree"; }
  std::string newTarget() const {
    static int number = 0;
    return folder_ + "/copy-" + std::to_string(++number);
  }

  ~Sources() { fs::remove_all(folder_); }

 private:
  Sources() : folder_(workFolder()) {
    fs::create_directories(folder_);
    makeLargeFile();
    makeTree();
    sync();
  }

  void makeLargeFile() const {
    std::ofstream file(largeFile(), std::ios::binary);
    const std::string piece(1U << 20U, 'x');
    for (std::size_t written = 0; written < kLargeFileSize; written += piece.size()) {
      file << piece;
    }
  }

  void makeTree() const {
    for (int folder = 0; folder < kTreeFolders; ++folder) {
      const std::string path = tree() + "/folder-" + std::to_string(folder);
      fs::create_directories(path);
      for (int file = 0; file < kFilesPerFolder; ++file) {
        const auto size = static_cast<std::size_t>(1024 + (folder * 131 + file * 17) % 7168);
        std::ofstream(path + "/file-" + std::to_string(file)) << std::string(size, 'y');
      }
    }
  }

  std::string folder_;
};

void runCommand(const std::vector<std::string>& words) {
  const pid_t process = vfork();
  if (process == 0) {
    std::vector<char*> arguments;
    for (const std::string& word : words) {
      arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
  }
  int status = 0;
  waitpid(process, &status, 0);
  if (status != 0) {
    std::abort();
  }
}

/// Copies with reports that are delivered and looked at, as a program with a progress bar does.
class Client : public kestova::OVFileOperationDelegate {
 public:
  void copy(const std::string& from, const std::string& to) {
    const auto operation = kestova::OVFileOperation::init();
    operation->setDelegate(this);
    isDone_ = operation->beginCopyFromPath_toPath_options(from, to, 0) != 0;
    while (!isDone_) {
      kestova::CFRunLoopRunInMode(kestova::kCFRunLoopDefaultMode, 1000.0, true);
    }
  }

  void fileOperationStatusChanged(const Ref<kestova::OVFileOperation>& operation) override {
    benchmark::DoNotOptimize(operation->bytesComplete());
  }
  void fileOperationDidFinish_error(const Ref<kestova::OVFileOperation>&,
                                    kestova::OSStatus) override {
    isDone_ = true;
  }

 private:
  bool isDone_ = false;
};

void copyHere(const std::string& from, const std::string& to) { Client().copy(from, to); }

/// Copies without a client: nothing is reported, the end is looked for.
void copyUnreported(const std::string& from, const std::string& to) {
  const FSFileOperationRef operation = kestova::FSFileOperationCreate();
  const fs::path target(to);
  kestova::FSPathCopyObjectAsync(operation, from, target.parent_path(), target.filename().string(),
                                 0, nullptr, 0.0, nullptr);
  kestova::FSFileOperationStage stage = kestova::kFSOperationStageUndefined;
  while (stage != kestova::kFSOperationStageComplete) {
    std::this_thread::sleep_for(std::chrono::microseconds(500));
    kestova::FSFileOperationCopyStatus(operation, nullptr, &stage, nullptr, nullptr);
  }
}

void copyWithCp(const std::string& from, const std::string& to) {
  runCommand({"cp", "-a", from, to});
}

void copyWithRsync(const std::string& from, const std::string& to) {
  runCommand({"rsync", "-a", "-W", fs::is_directory(from) ? from + "/" : from, to});
}

void copyWithGIO(const std::string& from, const std::string& to) {
  GFile* source = g_file_new_for_path(from.c_str());
  GFile* target = g_file_new_for_path(to.c_str());
  if (g_file_copy(source, target, G_FILE_COPY_ALL_METADATA, nullptr, nullptr, nullptr, nullptr) ==
      0) {
    std::abort();
  }
  g_object_unref(source);
  g_object_unref(target);
}

void useFreeMemory() {
  constexpr std::size_t kSize = 2 * kLargeFileSize;
  void* const memory =
      mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory != MAP_FAILED) {
    madvise(memory, kSize, MADV_HUGEPAGE);
    madvise(memory, kSize, MADV_POPULATE_WRITE);
    munmap(memory, kSize);
  }
}

using Copier = void (*)(const std::string&, const std::string&);

void measure(benchmark::State& state, const std::string& from, Copier copier) {
  for (auto _ : state) {
    const std::string to = Sources::shared().newTarget();
    sync();
    useFreeMemory();
    const auto start = std::chrono::steady_clock::now();
    copier(from, to);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(taken.count());
    fs::remove_all(to);
  }
}

void LargeFile(benchmark::State& state, Copier copier) {
  measure(state, Sources::shared().largeFile(), copier);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kLargeFileSize));
}

void Tree(benchmark::State& state, Copier copier) {
  measure(state, Sources::shared().tree(), copier);
  state.SetItemsProcessed(state.iterations() * kTreeObjects);
}

#define MEASURED(family, name, copier) \
  BENCHMARK_CAPTURE(family, name, &copier)->UseManualTime()->Unit(benchmark::kMillisecond)

MEASURED(LargeFile, Here, copyHere);
MEASURED(LargeFile, HereUnreported, copyUnreported);
MEASURED(LargeFile, cp, copyWithCp);
MEASURED(LargeFile, GIO, copyWithGIO);
MEASURED(LargeFile, rsync, copyWithRsync);
MEASURED(Tree, Here, copyHere);
MEASURED(Tree, HereUnreported, copyUnreported);
MEASURED(Tree, cp, copyWithCp);
MEASURED(Tree, rsync, copyWithRsync);

}  // namespace

BENCHMARK_MAIN();
