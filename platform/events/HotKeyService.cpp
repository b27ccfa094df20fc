// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/HotKeyService.h>
#include <KestovaPlatform/NSLog.h>

#include "events/PortalHotKeyService.h"
#include "events/XHotKeyService.h"

#include <cstdlib>
#include <utility>

namespace kestova {
namespace {

/// The service in use, and what there is to say about its choice.
struct Choice {
  std::shared_ptr<HotKeyService> service;
  std::string explanation;
};

Choice& current() {
  static auto& choice = *new Choice;
  return choice;
}

bool isWaylandSession() {
  const char* display = std::getenv("WAYLAND_DISPLAY");
  return display != nullptr && *display != '\0';
}

std::string explanationOf(const std::shared_ptr<HotKeyService>& service,
                          const std::string& serverReason, const std::string& portalReason) {
  std::string text = service == nullptr ? "no service" : "served by " + service->name();
  if (!serverReason.empty()) {
    text += "; not by the X server: " + serverReason;
  }
  if (!portalReason.empty()) {
    text += "; not by the desktop portal: " + portalReason;
  }
  return text;
}

/// What the X server of a Wayland session grabs it only has from programs of its own, so there it
/// is no choice.
Choice choose() {
  Choice choice;
  std::string serverReason;
  std::string portalReason;
  if (isWaylandSession()) {
    serverReason = "this is a Wayland session";
    choice.service = PortalHotKeyService::connect(portalReason);
  } else {
    portalReason = "this is no Wayland session";
    choice.service = XHotKeyService::connect(serverReason);
  }
  choice.explanation = explanationOf(choice.service, serverReason, portalReason);
  return choice;
}

}  // namespace

std::shared_ptr<HotKeyService> HotKeyService::shared() {
  Choice& choice = current();
  if (choice.service == nullptr || !choice.service->isLive()) {
    const Choice before = std::exchange(choice, choose());
    if (before.service != nullptr || before.explanation != choice.explanation) {
      NSLog("Hot keys: %s", choice.explanation);
    }
  }
  return choice.service;
}

void HotKeyService::setShared(std::shared_ptr<HotKeyService> service) {
  current() = Choice{std::move(service), {}};
}

std::string HotKeyService::explanation() { return current().explanation; }

}  // namespace kestova
