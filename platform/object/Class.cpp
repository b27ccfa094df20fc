// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSString.h>

#include <algorithm>
#include <mutex>
#include <utility>

namespace kestova {
namespace {

/// Guards the list of registrations: libraries come and go with dlopen and dlclose on any thread.
std::mutex& registryMutex() {
  static std::mutex& mutex = *new std::mutex;
  return mutex;
}

constinit ClassRegistration* firstRegistration = nullptr;

}  // namespace

Class::Class(std::string_view name, const Class* superclass, std::vector<Property> properties,
             std::vector<ClassOperation> operations, Maker maker)
    : name_(name),
      superclass_(superclass),
      properties_(std::move(properties)),
      operations_(std::move(operations)),
      maker_(maker) {}

/// The member of that name in a list of the class itself or of the nearest one above that has it.
template <class Member>
const Member* Class::nearest(const std::vector<Member> Class::*list,
                             std::string_view name) const noexcept {
  for (const Class* described = this; described != nullptr; described = described->superclass_) {
    const auto found = std::ranges::find(described->*list, name, &Member::name);
    if (found != (described->*list).end()) {
      return &*found;
    }
  }
  return nullptr;
}

const Property* Class::property(std::string_view name) const noexcept {
  return nearest(&Class::properties_, name);
}

const ClassOperation* Class::classOperation(std::string_view name) const noexcept {
  return nearest(&Class::operations_, name);
}

bool Class::isSubclassOfClass(const Class& other) const noexcept {
  const Class* described = this;
  while (described != nullptr && described != &other) {
    described = described->superclass_;
  }
  return described != nullptr;
}

const Class* Class::named(std::string_view name) {
  const Class& (*description)() = nullptr;
  {
    const std::scoped_lock lock(registryMutex());
    const ClassRegistration* entry = firstRegistration;
    while (entry != nullptr && entry->name_ != name) {
      entry = entry->next_;
    }
    if (entry != nullptr) {
      description = entry->description_;
    }
  }
  return description == nullptr ? nullptr : &description();
}

const Class* NSClassFromString(const Ref<NSString>& name) {
  const auto utf8 = name ? name->UTF8String() : std::nullopt;
  return utf8 ? Class::named(*utf8) : nullptr;
}

Ref<NSString> NSStringFromClass(const Class& described) { return described.name(); }

ClassRegistration::ClassRegistration(std::string_view name, const Class& (*description)()) noexcept
    : name_(name), description_(description) {
  const std::scoped_lock lock(registryMutex());
  next_ = std::exchange(firstRegistration, this);
}

ClassRegistration::~ClassRegistration() {
  const std::scoped_lock lock(registryMutex());
  ClassRegistration** link = &firstRegistration;
  while (*link != nullptr && *link != this) {
    link = &(*link)->next_;
  }
  if (*link != nullptr) {
    *link = next_;
  }
}

}  // namespace kestova
