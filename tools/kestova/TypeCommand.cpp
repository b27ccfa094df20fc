// SPDX-License-Identifier: Apache-2.0
#include "FileCommands.h"

#include "FileFailure.h"
#include "TransferText.h"

#include <KestovaFoundation/Additions/NSFileManagerAdditions.h>

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>

namespace kestova::tool {
namespace {

std::string typeOf(const std::string& path) {
  struct stat facts {};
  if (::lstat(path.c_str(), &facts) != 0) {
    throw FileFailure(displayText(path), errno);
  }
  const auto type = fileTypeForFileAtPath(NSFileManager::defaultManager(),
                                          NSString::stringWithFileSystemRepresentation(path));
  if (!type) {
    throw FileFailure(displayText(path), "/usr/bin/file is missing or could not tell its type");
  }
  return type->displayUTF8();
}

class TypeCommand final : public Command {
 public:
  explicit TypeCommand(CLI::App* arguments) : Command(arguments) {
    arguments->add_option("FILE", path_, "A file")->required();
  }

  int run() override {
    try {
      std::puts(typeOf(path_).c_str());
      return kSucceeded;
    } catch (const FileFailure& failure) {
      printFailure(failure.what());
      return kFailed;
    }
  }

 private:
  std::string path_;
};

}  // namespace

void addTypeCommand(CLI::App& app, Commands& commands) {
  commands.push_back(std::make_unique<TypeCommand>(
      app.add_subcommand("type", "Tell what a file is, as the program file does")));
}

}  // namespace kestova::tool
