// SPDX-License-Identifier: Apache-2.0
#include "FileCommands.h"

#include "FileFailure.h"
#include "JSONLine.h"
#include "ReportCommand.h"
#include "TransferText.h"

#include <KestovaFoundation/Additions/NSURLAdditions.h>
#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/NSError.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

namespace kestova::tool {
namespace {

struct VolumeFound {
  std::string name;
  std::string root;
};

/// The path with its symbolic links followed, as far as there is something: name and root of the
/// volume are then those of the same one.
std::string resolvedPath(const std::string& path) {
  if (path.empty()) {
    throw FileFailure("", ENOENT);
  }
  std::error_code error;
  auto resolved = std::filesystem::absolute(path, error);
  if (!error) {
    resolved = std::filesystem::weakly_canonical(resolved, error);
  }
  if (error) {
    throw FileFailure(displayText(path), error.value());
  }
  return resolved;
}

/// The library asks until it is told; what can't be told now is a failure here.
void checkIsTold(const std::string& path, const Ref<NSURL>& url) {
  Ref<NSError> error;
  const bool isTold = url->getResourceValue_forKey_error(nullptr, NSURLVolumeNameKey, &error);
  if (!isTold && error->code() != NSFileNoSuchFileError) {
    const auto cause = cast<NSError>(error->userInfo()->objectForKey(NSUnderlyingErrorKey));
    throw FileFailure(displayText(path), static_cast<int>(cause->code()));
  }
}

VolumeFound volumeOf(const std::string& path) {
  const auto url = NSURL::fileURLWithPath_isDirectory(
      NSString::stringWithFileSystemRepresentation(resolvedPath(path)), false);
  checkIsTold(path, NSURL::fileURLWithPath_isDirectory("/", true));
  checkIsTold(path, url);
  return {ov_volumeName(url)->fileSystemRepresentation(),
          ov_volumeRootURL(url)->fileSystemRepresentation()};
}

void printRow(const VolumeFound& volume) {
  std::printf("%s\t%s\n", volume.name.c_str(), volume.root.c_str());
}

void printObject(const std::string& path, const VolumeFound& volume) {
  printJSONLine({{"path", path}, {"name", volume.name}, {"root", volume.root}});
}

class VolumeCommand final : public ReportCommand {
 public:
  explicit VolumeCommand(CLI::App* arguments)
      : ReportCommand(arguments, "PATH", "Files and folders, there already or not") {
    arguments->footer(
        "A line has the volume's name, a tab, and the folder that it is mounted on. What is not\n"
        "there yet is on the volume of the nearest folder above.");
  }

 private:
  void show(const std::string& path) const override {
    const VolumeFound volume = volumeOf(path);
    isJSON() ? printObject(path, volume) : printRow(volume);
  }
};

}  // namespace

void addVolumeCommand(CLI::App& app, Commands& commands) {
  commands.push_back(std::make_unique<VolumeCommand>(
      app.add_subcommand("volume", "Tell which volume files are on")));
}

}  // namespace kestova::tool
