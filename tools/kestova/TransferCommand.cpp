// SPDX-License-Identifier: Apache-2.0
#include "TransferCommand.h"

#include "InterruptSignal.h"
#include "ItemPath.h"
#include "TransferItem.h"
#include "TransferReporter.h"
#include "TransferText.h"

#include <KestovaFoundation/OVFileOperation.h>
#include <KestovaFoundation/OVNSErrorBuilder.h>
#include <KestovaPlatform/NSBeep.h>
#include <KestovaPlatform/NSLog.h>
#include <KestovaPlatform/NSRunLoop.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kestova::tool {
namespace {

namespace fs = std::filesystem;

struct TransferOptions {
  std::vector<std::string> paths;
  bool overwrites = false;
  bool isQuiet = false;
  bool isJSON = false;
};

/// Whether the standard output is a terminal that can rewrite a line.
bool canRewriteLines() {
  const char* terminal = std::getenv("TERM");
  return isatty(STDOUT_FILENO) != 0 && terminal != nullptr && *terminal != '\0' &&
         std::string_view(terminal) != "dumb";
}

std::unique_ptr<TransferReporter> makeReporter(const TransferOptions& options) {
  if (options.isJSON) {
    return makeJSONReporter();
  }
  if (options.isQuiet) {
    return makeQuietReporter();
  }
  return canRewriteLines() ? makeLiveReporter() : makePlainReporter();
}

/// Neither log nor bell while it lives: the library logs every failed report, and the tool has its
/// own line for each failure.
class Silence final : private LogSink, private AlertSound {
 public:
  Silence() {
    LogSink::setCurrent(this);
    AlertSound::setCurrent(this);
  }
  ~Silence() override {
    LogSink::setCurrent(nullptr);
    AlertSound::setCurrent(nullptr);
  }

 private:
  void write(std::string_view) override {}
  void play() override {}
};

/// Carries one item to its end on this thread's run loop.
class Transfer final : private OVFileOperationDelegate {
 public:
  Transfer(const TransferItem& item, TransferReporter& reporter)
      : item_(item), reporter_(reporter) {}
  ~Transfer() {
    if (operation_) {
      operation_->setDelegate(nullptr);
    }
  }
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  /// Answers the status that ended it; userCanceledErr after `cancel`.
  OSStatus run(OptionBits options) {
    operation_ = OVFileOperation::init();
    operation_->setDelegate(this);
    reporter_.began(item_);
    status_ = start(options);
    isDone_ = status_ != noErr;
    while (!isDone_) {
      CFRunLoopRunInMode(kCFRunLoopDefaultMode, kForever, true);
    }
    reporter_.ended(item_, *operation_, status_);
    return status_;
  }

  void cancel() {
    if (operation_) {
      operation_->cancel();
    }
  }

  /// The item that it stopped at.
  std::string lastPath() const {
    const Ref<NSString> path = operation_->currentFile();
    return path ? path->fileSystemRepresentation() : item_.source;
  }

 private:
  static constexpr double kForever = 1e10;

  OSStatus start(OptionBits options) {
    const auto from = NSString::stringWithFileSystemRepresentation(item_.source);
    const auto to = NSString::stringWithFileSystemRepresentation(item_.destination);
    return item_.kind == TransferKind::kCopy
               ? operation_->beginCopyFromPath_toPath_options(from, to, options)
               : operation_->beginMoveFromPath_toPath_options(from, to, options);
  }

  void fileOperationStatusChanged(const Ref<OVFileOperation>& operation) override {
    reporter_.progressed(item_, *operation);
    if (operation->isCancelled()) {
      status_ = userCanceledErr;
      isDone_ = true;
    }
  }

  void fileOperationDidFinish_error(const Ref<OVFileOperation>&, OSStatus error) override {
    status_ = error;
    isDone_ = true;
  }

  const TransferItem& item_;
  TransferReporter& reporter_;
  Ref<OVFileOperation> operation_;
  OSStatus status_ = noErr;
  bool isDone_ = false;
};

class TransferCommand final : public Command {
 public:
  TransferCommand(CLI::App* arguments, TransferKind kind) : Command(arguments), kind_(kind) {
    arguments->add_option("PATH", options_.paths, "What to take, and last where to put it")
        ->required()
        ->expected(2, -1)
        ->option_text("SRC... DEST");
    arguments->add_flag("--overwrite", options_.overwrites,
                        "Replace what is there under the same name, a folder as a whole");
    arguments->add_flag("--quiet", options_.isQuiet, "Say nothing but errors");
    arguments->add_flag("--json", options_.isJSON, "Print one JSON object for every report");
    arguments->footer(
        "Into DEST under the source's name where DEST is a folder, else as DEST.\n"
        "On a terminal a live line tells of the progress; elsewhere, and where TERM is dumb or\n"
        "nothing, there are plain lines.");
  }

  int run() override {
    const Silence silence;
    const std::string destination = options_.paths.back();
    options_.paths.pop_back();
    const bool isFolder = fs::is_directory(destination);
    if (options_.paths.size() > 1 && !isFolder) {
      std::fprintf(stderr, "kestova: %s is not a folder, and there are several sources\n",
                   displayText(destination).c_str());
      return kFailed;
    }
    return runItems(itemsInto(destination, isFolder));
  }

 private:
  std::vector<TransferItem> itemsInto(const std::string& destination, bool isFolder) const {
    std::vector<TransferItem> items;
    for (const std::string& path : options_.paths) {
      const std::string source = withoutTrailingSlashes(path);
      items.push_back({.kind = kind_,
                       .source = source,
                       .destination = isFolder ? (fs::path(destination) / nameOf(source)).string()
                                               : withoutTrailingSlashes(destination),
                       .number = items.size() + 1,
                       .count = options_.paths.size()});
    }
    return items;
  }

  int runItems(const std::vector<TransferItem>& items) {
    const std::unique_ptr<TransferReporter> reporter = makeReporter(options_);
    Transfer* current = nullptr;
    bool isInterrupted = false;
    const InterruptSignal interrupt([&] {
      isInterrupted = true;
      if (current != nullptr) {
        current->cancel();
      }
    });
    int result = kSucceeded;
    for (const TransferItem& item : items) {
      Transfer transfer(item, *reporter);
      current = &transfer;
      const OSStatus status = transfer.run(options_.overwrites ? kFSFileOperationOverwrite
                                                               : kFSFileOperationDefaultOptions);
      current = nullptr;
      if (isInterrupted) {
        return kInterrupted;
      }
      if (status != noErr) {
        explain(item, transfer.lastPath(), status);
        result = kFailed;
      }
    }
    return result;
  }

  static void explain(const TransferItem& item, const std::string& path, OSStatus status) {
    const Ref<NSString> operation = NSString::stringWithFormat(
        item.kind == TransferKind::kCopy ? "Copying %s to %s" : "Moving %s to %s",
        displayText(path), displayText(item.destination));
    std::fprintf(stderr, "kestova: %s\n",
                 OVMakeStandardMacErrorString(operation, status)->displayUTF8().c_str());
  }

  TransferKind kind_;
  TransferOptions options_;
};

}  // namespace

void addTransferCommands(CLI::App& app, Commands& commands) {
  commands.push_back(std::make_unique<TransferCommand>(
      app.add_subcommand("copy", "Copy files and folders, with progress"), TransferKind::kCopy));
  commands.push_back(std::make_unique<TransferCommand>(
      app.add_subcommand("move", "Move files and folders, with progress"), TransferKind::kMove));
}

}  // namespace kestova::tool
