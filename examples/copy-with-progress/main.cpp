// SPDX-License-Identifier: Apache-2.0
// copy-with-progress [FROM TO]: copies a file or folder; without arguments, this program itself.
#include <KestovaFoundation/KestovaFoundation.h>

#include <iostream>
#include <string>

using namespace kestova;

struct Progress : OVFileOperationDelegate {
  void fileOperationStatusChanged(const Ref<OVFileOperation>& copy) override {
    std::cout << copy->bytesComplete() << " of " << copy->totalBytes() << " bytes\n";
  }
};

int main(int argc, char** argv) {
  const std::string from = argc > 2 ? argv[1] : argv[0];
  const std::string to = argc > 2 ? argv[2] : from + ".copy";
  Progress progress;
  auto copy = OVFileOperation::init();
  copy->setDelegate(&progress);
  const OSStatus status = copy->copyFromPath_toPath_options(from, to, kFSFileOperationOverwrite);
  if (status != noErr) {
    std::cerr << OVMakeStandardMacErrorString("The copy", status) << '\n';
  }
  return status == noErr ? 0 : 1;
}
