// SPDX-License-Identifier: Apache-2.0
#include "TransferReporter.h"

#include <KestovaPlatform/NSString.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <string>

namespace kestova::tool {
namespace {

using JSON = nlohmann::ordered_json;

/// Bytes of a path that are no UTF-8 become U+FFFD: JSON can't carry them.
void print(const JSON& object) {
  std::puts(object.dump(-1, ' ', false, JSON::error_handler_t::replace).c_str());
  std::fflush(stdout);
}

JSON describing(const char* event, const TransferItem& item) {
  return {
      {"event", event},        {"operation", item.kind == TransferKind::kCopy ? "copy" : "move"},
      {"source", item.source}, {"destination", item.destination},
      {"item", item.number},   {"items", item.count}};
}

void addFigures(JSON& object, const OVFileOperation& operation) {
  object["totalBytes"] = operation.totalBytes();
  object["bytesComplete"] = operation.bytesComplete();
  object["bytesRemaining"] = operation.bytesRemaining();
  object["totalObjects"] = operation.totalObjects();
  object["objectsComplete"] = operation.objectsComplete();
  object["objectsRemaining"] = operation.objectsRemaining();
  object["totalUserVisibleObjects"] = operation.totalUserVisibleObjects();
  object["userVisibleObjectsComplete"] = operation.userVisibleObjectsComplete();
  object["userVisibleObjectsRemaining"] = operation.userVisibleObjectsRemaining();
  object["throughput"] = operation.throughput();
}

class JSONReporter final : public TransferReporter {
 public:
  void began(const TransferItem& item) override { print(describing("begin", item)); }

  void progressed(const TransferItem& item, const OVFileOperation& operation) override {
    JSON object = describing("progress", item);
    addFigures(object, operation);
    if (operation.currentFile()) {
      object["currentFile"] = operation.currentFile()->fileSystemRepresentation();
    }
    print(object);
  }

  void ended(const TransferItem& item, const OVFileOperation& operation, OSStatus status) override {
    JSON object = describing("end", item);
    addFigures(object, operation);
    object["status"] = status;
    object["statusName"] = GetMacOSStatusErrorString(status);
    print(object);
  }
};

}  // namespace

std::unique_ptr<TransferReporter> makeJSONReporter() { return std::make_unique<JSONReporter>(); }

}  // namespace kestova::tool
