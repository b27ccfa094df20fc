// SPDX-License-Identifier: Apache-2.0
#include "FileCommands.h"

#include <KestovaFoundation/Additions/NSFileManagerAdditions.h>

#include <cstdio>
#include <memory>
#include <string>

namespace kestova::tool {
namespace {

class NameCommand final : public Command {
 public:
  explicit NameCommand(CLI::App* arguments) : Command(arguments) {
    auto* const kinds = arguments->add_option_group("Kind");
    kinds->add_flag_callback(
        "--safe", [this] { operation_ = &validatedFileName; }, "TEXT made fit to be a file name");
    kinds->add_flag_callback(
        "--unique", [this] { operation_ = &uniquePathForFileWithDesiredPath; },
        "The path TEXT, with a number where it is taken");
    kinds->add_flag_callback(
        "--duplicate", [this] { operation_ = &pathForDuplicateOfFileAtPath; },
        "A free path for a copy of what is at the path TEXT");
    kinds->require_option(1);
    arguments->add_option("TEXT", text_, "A text or a path")->required();
    arguments->footer("Nothing is made or changed. Put -- before a text that begins with -.");
  }

  int run() override {
    const auto text = NSString::stringWithFileSystemRepresentation(text_);
    const auto name = operation_(NSFileManager::defaultManager(), text);
    std::puts(name->fileSystemRepresentation().c_str());
    return kSucceeded;
  }

 private:
  using Operation = Ref<NSString> (*)(const Ref<NSFileManager>&, const Ref<NSString>&);

  Operation operation_ = nullptr;
  std::string text_;
};

}  // namespace

void addNameCommand(CLI::App& app, Commands& commands) {
  commands.push_back(std::make_unique<NameCommand>(
      app.add_subcommand("name", "Print a file name that is valid, or a path that is free")));
}

}  // namespace kestova::tool
