// SPDX-License-Identifier: Apache-2.0
#include "FileCommands.h"

#include "FileFailure.h"
#include "JSONLine.h"
#include "ReportCommand.h"
#include "TransferText.h"

#include <KestovaPlatform/FSCatalog.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

namespace kestova::tool {
namespace {

/// What was found out about an item: its sizes, and the status of what could not be read.
struct Measured {
  FSCatalogInfo sizes;
  OSStatus status = noErr;
};

/// The sizes that the library's own operation adds up; unlike that it tells of what is left out.
/// Throws FileFailure when nothing is known of the item.
Measured measure(const std::string& path) {
  const FSRef item{path};
  FSIterator folder;
  Measured measured;
  OSStatus status = FSOpenIterator(item, kFSIterateFlat, &folder);
  if (status == errFSNotAFolder) {
    status = FSGetCatalogInfo(item, &measured.sizes);
  } else if (status == noErr) {
    measured.status = FSGetSubtreeInfo(folder, &measured.sizes);
  }
  if (status != noErr) {
    throw FileFailure(displayText(path), GetMacOSStatusCommentString(status));
  }
  return measured;
}

void printRow(const std::string& path, std::uint64_t bytes) {
  std::printf("%llu\t%s\n", static_cast<unsigned long long>(bytes), path.c_str());
}

void printObject(const std::string& path, std::uint64_t bytes) {
  printJSONLine({{"path", path}, {"bytes", bytes}});
}

class SizeCommand final : public ReportCommand {
 public:
  explicit SizeCommand(CLI::App* arguments)
      : ReportCommand(arguments, "PATH", "Files and folders") {
    arguments->add_flag("--physical", physical_, "What is allocated, not how long files are");
    arguments->footer(
        "Folders themselves count nothing, symbolic links their own size, and a file with several\n"
        "names each time that it is met.");
  }

 private:
  void show(const std::string& path) const override {
    const Measured measured = measure(path);
    const FSCatalogInfo& sizes = measured.sizes;
    const std::uint64_t bytes = physical_ ? sizes.dataPhysicalSize + sizes.rsrcPhysicalSize
                                          : sizes.dataLogicalSize + sizes.rsrcLogicalSize;
    isJSON() ? printObject(path, bytes) : printRow(path, bytes);
    if (measured.status != noErr) {
      throw FileFailure(displayText(path), std::string("what can't be read is not counted: ") +
                                               GetMacOSStatusCommentString(measured.status));
    }
  }

  bool physical_ = false;
};

}  // namespace

void addSizeCommand(CLI::App& app, Commands& commands) {
  commands.push_back(std::make_unique<SizeCommand>(
      app.add_subcommand("size", "Add up the sizes of files and folders")));
}

}  // namespace kestova::tool
