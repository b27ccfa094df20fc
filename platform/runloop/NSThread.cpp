// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/MainThreadPerformer.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSThread.h>
#include <KestovaPlatform/UTF8.h>
#include <pthread.h>

#include <condition_variable>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace kestova {

constinit const StringConstant NSDestinationInvalidException{"NSDestinationInvalidException"};

KESTOVA_DEFINE_CLASS(NSThread)

namespace {

std::thread::id mainThreadId() noexcept {
  static const std::thread::id id = std::this_thread::get_id();
  return id;
}

/// Loading the library settles which thread is the main one.
[[maybe_unused]] const std::thread::id settledAtLoading = mainThreadId();

/// Where each thread but the main one keeps its object. A key's destructors run after those of all
/// thread-local variables, which may still want the run loop.
pthread_key_t threadKey(void (*end)(void*)) {
  static const pthread_key_t key = [end] {
    pthread_key_t made;
    require(::pthread_key_create(&made, end) == 0, "the process has a thread key left");
    return made;
  }();
  return key;
}

/// Names a thread of the system, which takes 15 bytes; a cut character is left out whole.
void nameCurrentThread(const Ref<NSString>& name) {
  const std::string bytes = name ? name->displayUTF8() : std::string();
  const std::string cut(withoutCutCharacter(std::string_view(bytes).substr(0, 15)));
  ::pthread_setname_np(::pthread_self(), cut.c_str());
}

/// How a block on another thread ended, for the one who waits for it.
class Completion {
 public:
  void finish(bool hasRun) {
    {
      const std::lock_guard lock(mutex_);
      if (state_ != State::pending) {
        return;
      }
      state_ = hasRun ? State::run : State::dropped;
    }
    changed_.notify_all();
  }

  /// Whether the block has run.
  bool wait() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return state_ != State::pending; });
    return state_ == State::run;
  }

 private:
  enum class State { pending, run, dropped };

  std::mutex mutex_;
  std::condition_variable changed_;
  State state_ = State::pending;
};

/// A block that somebody waits for: tells how it ended, also when it is dropped or throws.
class AwaitedBlock {
 public:
  AwaitedBlock(Block<void()> block, std::shared_ptr<Completion> completion)
      : block_(std::move(block)), completion_(std::move(completion)) {}
  AwaitedBlock(AwaitedBlock&&) = default;
  ~AwaitedBlock() {
    if (completion_ != nullptr) {
      completion_->finish(false);
    }
  }

  void operator()() const {
    struct End {
      Completion& completion;
      ~End() { completion.finish(true); }
    };
    const End end{*completion_};
    block_();
  }

 private:
  Block<void()> block_;
  std::shared_ptr<Completion> completion_;
};

}  // namespace

NSThread::NSThread(std::thread::id thread) : thread_(thread) {}

NSThread::~NSThread() = default;

bool NSThread::isMainThread() noexcept { return std::this_thread::get_id() == mainThreadId(); }

Ref<NSThread> NSThread::mainThread() {
  static NSThread& main = *make<NSThread>(mainThreadId()).leak();
  return Ref<NSThread>(&main);
}

Ref<NSThread> NSThread::currentThread() {
  if (isMainThread()) {
    return mainThread();
  }
  const pthread_key_t key = threadKey(&end);
  if (void* thread = ::pthread_getspecific(key)) {
    return Ref<NSThread>(static_cast<NSThread*>(thread));
  }
  Ref<NSThread> thread = make<NSThread>(std::this_thread::get_id());
  ::pthread_setspecific(key, Ref<NSThread>(thread).leak());
  return thread;
}

void NSThread::end(void* pointer) {
  const auto thread = Ref<NSThread>::adopt(static_cast<NSThread*>(pointer));
  const pthread_key_t key = threadKey(&end);
  // What the run loop lets go of may ask for the current thread.
  ::pthread_setspecific(key, pointer);
  Ref<NSRunLoop> runLoop;
  {
    const std::lock_guard lock(thread->mutex_);
    thread->finished_ = true;
    runLoop = thread->runLoop_;
  }
  if (runLoop) {
    runLoop->close();
  }
  ::pthread_setspecific(key, nullptr);
}

Ref<NSString> NSThread::name() const {
  const std::lock_guard lock(mutex_);
  return name_;
}

void NSThread::setName(const Ref<NSString>& name) {
  Ref<NSString> copy = copyOf(name);
  {
    const std::lock_guard lock(mutex_);
    std::swap(name_, copy);
  }
  // The system takes the main thread's name for the program's.
  if (std::this_thread::get_id() == thread_ && !isMainThread()) {
    nameCurrentThread(name);
  }
}

bool NSThread::isFinished() const {
  const std::lock_guard lock(mutex_);
  return finished_;
}

Ref<NSRunLoop> NSThread::runLoop() {
  const std::lock_guard lock(mutex_);
  if (runLoop_ == nullptr && !finished_) {
    runLoop_ = make<NSRunLoop>(thread_, thread_ == mainThreadId());
  }
  return runLoop_;
}

namespace {

/// Hands the block to one who runs it soon, and waits for it where that is asked for.
template <class Submit>
void performThrough(const Submit& submit, bool isThere, Block<void()> block, bool waitUntilDone) {
  require(block != nullptr, "block != nil");
  if (!waitUntilDone) {
    submit(std::move(block));
    return;
  }
  if (isThere) {
    block();
    return;
  }
  const auto completion = std::make_shared<Completion>();
  submit(AwaitedBlock(std::move(block), completion));
  if (!completion->wait()) {
    throw NSException(NSDestinationInvalidException, "the thread ended before the block ran");
  }
}

}  // namespace

void performOnThread(const Ref<NSThread>& thread, Block<void()> block, bool waitUntilDone,
                     const Ref<NSString>& mode) {
  require(thread != nullptr, "thread != nil");
  const auto submit = [&](Block<void()> submitted) {
    if (const Ref<NSRunLoop> runLoop = thread->runLoop()) {
      runLoop->performInMode_block(mode, std::move(submitted));
    }
  };
  const bool isThere = waitUntilDone && thread == NSThread::currentThread();
  performThrough(submit, isThere, std::move(block), waitUntilDone);
}

void performBlockOnMainThread(Block<void()> block, bool waitUntilDone, const Ref<NSString>& mode) {
  MainThreadPerformer* performer = MainThreadPerformer::current();
  if (performer == nullptr) {
    performOnThread(NSThread::mainThread(), std::move(block), waitUntilDone, mode);
    return;
  }
  const auto submit = [&](Block<void()> submitted) { performer->perform(std::move(submitted)); };
  performThrough(submit, performer->isMainThread(), std::move(block), waitUntilDone);
}

}  // namespace kestova
