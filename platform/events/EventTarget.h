// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/HotKeyEvents.h>

#include <memory>
#include <span>
#include <vector>

namespace kestova {

/// A handler as it was installed. An event on its way may still share one that was removed.
struct EventHandler {
  EventHandlerProcPtr function;
  std::vector<EventTypeSpec> types;
  void* userData;
  bool isInstalled = true;

  bool wants(EventTypeSpec type) const;
};

/// The handlers of one target, and the target that events go to which none of them takes.
class EventTarget {
 public:
  explicit EventTarget(EventTarget* next) : next_(next) {}

  EventHandlerRef install(EventHandlerProcPtr function, std::span<const EventTypeSpec> types,
                          void* userData);

  /// Whether it was one of the handlers here.
  bool remove(EventHandlerRef handler);

  OSStatus send(const EventRef& event) const;

 private:
  using Handlers = std::vector<std::shared_ptr<EventHandler>>;

  static OSStatus offer(const EventRef& event, const Handlers& handlers);

  Handlers handlers_;
  EventTarget* const next_;
};

}  // namespace kestova
