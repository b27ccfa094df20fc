// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OSXCrashReporterInfo.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/Dispatch.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

extern "C" {
const char* __crashreporter_info__ = nullptr;
}

namespace kestova {
namespace {

/// Null until it was made; then it stays.
std::atomic<dispatch_queue_t> textQueue{nullptr};

/// The buffer that `__crashreporter_info__` shows. Invariant: it has `capacity` bytes and one to
/// spare, which is always 0, so that every state of the others is a text that ends. Used on the
/// queue only.
struct TextBuffer {
  char* bytes = nullptr;
  NSUInteger capacity = 0;

  void clear() {
    if (bytes != nullptr) {
      bytes[0] = '\0';
    }
  }

  /// A text as long as the capacity, which counts a terminating 0 already, still goes into the
  /// buffer: there the spare byte ends it.
  void publish(const char* text, NSUInteger length) {
    if (bytes != nullptr && length <= capacity) {
      write(bytes, text, length);
    } else {
      publishInNewBuffer(text, length);
    }
  }

 private:
  static void write(char* to, const char* text, NSUInteger length) {
    std::memmove(to, text, length);  // it may be a part of the text that is there
    to[length] = '\0';
  }

  /// What is published is complete at every moment: the old buffer goes last.
  void publishInNewBuffer(const char* text, NSUInteger length) {
    constexpr NSUInteger kLongest = std::numeric_limits<std::size_t>::max() - 2;
    char* grown =
        length <= kLongest ? static_cast<char*>(std::calloc(length + 2, sizeof(char))) : nullptr;
    if (grown != nullptr) {
      write(grown, text, length);
    }
    __crashreporter_info__ = grown;
    std::free(std::exchange(bytes, grown));
    capacity = grown != nullptr ? length + 1 : 0;
  }
};

TextBuffer buffer;

template <class Operation>
void onTextQueue(const Operation& operation) {
  const dispatch_queue_t queue = textQueue.load(std::memory_order_acquire);
  require(queue != nullptr, "OSXCrashReporterInfoInitialize was called");
  dispatch_sync(queue, operation);
}

}  // namespace

void OSXCrashReporterInfoInitialize() {
  static dispatch_once_t once;
  dispatch_once(&once, [] {
    textQueue.store(dispatch_queue_create("OVCrashReporterInfo", DISPATCH_QUEUE_SERIAL),
                    std::memory_order_release);
  });
}

void OSXCrashReporterInfoSet(const char* text, NSUInteger length) {
  onTextQueue([=] {
    if (text == nullptr || length == 0) {
      buffer.clear();
    } else {
      buffer.publish(text, length);
    }
  });
}

void OSXCrashReporterInfoSet(const char* text) {
  OSXCrashReporterInfoSet(text, text == nullptr ? 0 : std::strlen(text));
}

void OSXCrashReporterInfoSet(const Ref<NSString>& text) {
  const std::string utf8 = text ? text->displayUTF8() : std::string();
  OSXCrashReporterInfoSet(utf8.data(), utf8.size());
}

void OSXCrashReporterInfoClear() { OSXCrashReporterInfoSet(nullptr, 0); }

}  // namespace kestova
