// SPDX-License-Identifier: Apache-2.0
#include "events/EventTarget.h"

#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSThread.h>

#include <algorithm>

namespace kestova {

bool EventHandler::wants(EventTypeSpec type) const {
  return isInstalled && std::find(types.begin(), types.end(), type) != types.end();
}

EventHandlerRef EventTarget::install(EventHandlerProcPtr function,
                                     std::span<const EventTypeSpec> types, void* userData) {
  handlers_.push_back(std::make_shared<EventHandler>(
      EventHandler{function, {types.begin(), types.end()}, userData}));
  return handlers_.back().get();
}

bool EventTarget::remove(EventHandlerRef handler) {
  const auto found = std::find_if(handlers_.begin(), handlers_.end(),
                                  [&](const auto& one) { return one.get() == handler; });
  if (found == handlers_.end()) {
    return false;
  }
  (*found)->isInstalled = false;
  handlers_.erase(found);
  return true;
}

OSStatus EventTarget::send(const EventRef& event) const {
  const OSStatus status = offer(event, Handlers(handlers_));
  return status == noErr || next_ == nullptr ? status : next_->send(event);
}

/// The handlers are the caller's own copy: whichever is called may change those of the target.
OSStatus EventTarget::offer(const EventRef& event, const Handlers& handlers) {
  const bool isTaken = std::any_of(handlers.rbegin(), handlers.rend(), [&](const auto& handler) {
    return handler->wants(event->type()) && handler->function(event, handler->userData) == noErr;
  });
  return isTaken ? OSStatus{noErr} : OSStatus{eventNotHandledErr};
}

EventTargetRef GetApplicationEventTarget() {
  static auto& target = *new EventTarget(nullptr);
  return &target;
}

EventTargetRef GetEventDispatcherTarget() {
  static auto& target = *new EventTarget(GetApplicationEventTarget());
  return &target;
}

OSStatus InstallEventHandler(EventTargetRef target, EventHandlerProcPtr handler,
                             std::span<const EventTypeSpec> types, void* userData,
                             EventHandlerRef* outHandler) {
  require(NSThread::isMainThread(), "event handlers belong to the main thread");
  if (target == nullptr || handler == nullptr || types.empty()) {
    return paramErr;
  }
  EventHandlerRef installed = target->install(handler, types, userData);
  if (outHandler != nullptr) {
    *outHandler = installed;
  }
  return noErr;
}

OSStatus RemoveEventHandler(EventHandlerRef handler) {
  require(NSThread::isMainThread(), "event handlers belong to the main thread");
  const bool isRemoved =
      GetEventDispatcherTarget()->remove(handler) || GetApplicationEventTarget()->remove(handler);
  return isRemoved ? noErr : paramErr;
}

OSStatus SendEventToEventTarget(const EventRef& event, EventTargetRef target) {
  require(NSThread::isMainThread(), "events belong to the main thread");
  return event == nullptr || target == nullptr ? OSStatus{paramErr} : target->send(event);
}

}  // namespace kestova
