// SPDX-License-Identifier: Apache-2.0
#include "Load.h"

#include <KestovaFoundation/OVFileOperation.h>
#include <KestovaPlatform/Dispatch.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace kestova::soak {
namespace {

class Copying final : public Load, private OVFileOperationDelegate {
 public:
  explicit Copying(const std::string& folder)
      : source_(folder + "/source"), copy_(folder + "/copy") {
    std::filesystem::create_directories(source_ + "/inner");
    for (int i = 0; i < 50; ++i) {
      std::ofstream(source_ + (i % 2 ? "/" : "/inner/") + std::to_string(i))
          << std::string(20'000, 'k');
    }
    begin();
  }
  ~Copying() override {
    operation_->setDelegate(nullptr);
    operation_->cancel();
  }

  const char* name() const override { return "copies of a folder"; }

 private:
  void begin() {
    operation_ = OVFileOperation::init();
    operation_->setDelegate(this);
    if (operation_->beginCopyFromPath_toPath_options(source_, copy_, kFSFileOperationOverwrite) !=
        noErr) {
      throw std::runtime_error("a copy could not be begun");
    }
  }

  void fileOperationDidFinish_error(const Ref<OVFileOperation>&, OSStatus error) override {
    if (error != noErr) {
      throw std::runtime_error("a copy ended with status " + std::to_string(error));
    }
    finishOne();
    dispatch_async(dispatch_get_main_queue(), [this] { begin(); });
  }

  const std::string source_;
  const std::string copy_;
  Ref<OVFileOperation> operation_;
};

}  // namespace

std::unique_ptr<Load> copying(const std::string& folder) {
  return std::make_unique<Copying>(folder);
}

}  // namespace kestova::soak
