// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/HotKeyEvents.h>

#include <algorithm>
#include <cstring>

namespace kestova {

KESTOVA_DEFINE_CLASS(Event)

Event::Event(std::uint32_t kind, EventHotKeyID hotKeyID, std::uint32_t modifiers, NSPoint location,
             NSTimeInterval timestamp)
    : kind_(kind),
      hotKeyID_(hotKeyID),
      modifiers_(modifiers),
      location_(location),
      timestamp_(timestamp) {}

Ref<Event> Event::hotKeyEvent(std::uint32_t kind, EventHotKeyID hotKeyID, std::uint32_t modifiers,
                              NSPoint location, NSTimeInterval timestamp) {
  return make<Event>(kind, hotKeyID, modifiers, location, timestamp);
}

namespace {

/// Where the caller wants a parameter.
struct ParameterResult {
  EventParamType desiredType;
  EventParamType* actualType;
  std::size_t bufferSize;
  std::size_t* actualSize;
  void* data;

  template <class Value>
  OSStatus take(EventParamType type, const Value& value) const {
    if (desiredType != type && desiredType != typeWildCard) {
      return eventParameterNotFoundErr;
    }
    if (actualType != nullptr) {
      *actualType = type;
    }
    if (actualSize != nullptr) {
      *actualSize = sizeof value;
    }
    if (data != nullptr) {
      std::memcpy(data, &value, std::min(bufferSize, sizeof value));
    }
    return noErr;
  }
};

}  // namespace

OSStatus GetEventParameter(const EventRef& event, EventParamName name, EventParamType desiredType,
                           EventParamType* actualType, std::size_t bufferSize,
                           std::size_t* actualSize, void* data) {
  if (event == nullptr) {
    return paramErr;
  }
  const ParameterResult result{desiredType, actualType, bufferSize, actualSize, data};
  switch (name) {
    case kEventParamDirectObject:
      return result.take(typeEventHotKeyID, event->hotKeyID());
    case kEventParamKeyModifiers:
      return result.take(typeUInt32, event->modifiers());
    default:
      return eventParameterNotFoundErr;
  }
}

}  // namespace kestova
