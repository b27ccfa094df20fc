// SPDX-License-Identifier: Apache-2.0
#include "collections/MemberRelease.h"

#include <memory>
#include <new>

namespace kestova {
namespace {

/// How many collections may go inside each other before members wait.
constexpr unsigned kDeepest = 100;

/// Of the thread. Plain values, because collections also go while a thread's own objects do.
struct Releases {
  unsigned depth;
  std::vector<id>* waiting;
};
thread_local Releases releases;

/// What waits may let more wait.
void letGoOfWaiting() {
  const std::unique_ptr<std::vector<id>> waiting(releases.waiting);
  while (!waiting->empty()) {
    const id member = std::move(waiting->back());
    waiting->pop_back();
  }
  releases.waiting = nullptr;
}

}  // namespace

MemberRelease::MemberRelease() noexcept { ++releases.depth; }

MemberRelease::~MemberRelease() {
  if (releases.depth == 1 && releases.waiting != nullptr) {
    letGoOfWaiting();
  }
  --releases.depth;
}

bool MemberRelease::isTooDeep() const noexcept { return releases.depth > kDeepest; }

/// Where there is no memory to wait in, the member goes now, however deep that is.
void MemberRelease::putOff(id member) noexcept {
  try {
    if (releases.waiting == nullptr) {
      releases.waiting = new std::vector<id>();
    }
    releases.waiting->push_back(std::move(member));
  } catch (const std::bad_alloc&) {
    member = nullptr;
  }
}

}  // namespace kestova
