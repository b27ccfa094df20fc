// SPDX-License-Identifier: Apache-2.0
#include "JSONLine.h"
#include "TransferReporter.h"

#include <KestovaPlatform/NSString.h>
#include <nlohmann/json.hpp>

namespace kestova::tool {
namespace {

using JSON = nlohmann::ordered_json;

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
  void began(const TransferItem& item) override { printJSONLine(describing("begin", item)); }

  void progressed(const TransferItem& item, const OVFileOperation& operation) override {
    JSON object = describing("progress", item);
    addFigures(object, operation);
    if (operation.currentFile()) {
      object["currentFile"] = operation.currentFile()->fileSystemRepresentation();
    }
    printJSONLine(object);
  }

  void ended(const TransferItem& item, const OVFileOperation& operation, OSStatus status) override {
    JSON object = describing("end", item);
    addFigures(object, operation);
    object["status"] = status;
    object["statusName"] = GetMacOSStatusErrorString(status);
    printJSONLine(object);
  }
};

}  // namespace

std::unique_ptr<TransferReporter> makeJSONReporter() { return std::make_unique<JSONReporter>(); }

}  // namespace kestova::tool
