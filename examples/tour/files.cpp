// SPDX-License-Identifier: Apache-2.0
// files: fills a folder of its own, duplicates and copies what is in it, and takes it away again.
#include <KestovaFoundation/Additions/NSFileManagerAdditions.h>
#include <KestovaFoundation/Additions/NSStringIdentifiers.h>
#include <KestovaFoundation/OVFileOperation.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSRunLoop.h>

#include <iostream>

using namespace kestova;

struct Copying : OVFileOperationDelegate {
  void fileOperationDidFinish_error(const Ref<OVFileOperation>& copy, OSStatus error) override {
    std::cout << "copied " << copy->objectsComplete() << " items, " << copy->bytesComplete()
              << " bytes, status " << error << '\n';
    NSRunLoop::currentRunLoop()->stop();
  }
};

int main() {
  const auto files = NSFileManager::defaultManager();
  const auto folder = NSTemporaryDirectory()->stringByAppendingPathComponent(NSStringUUID());
  const auto notes = folder->stringByAppendingPathComponent("notes");
  files->createDirectoryAtPath_withIntermediateDirectories_attributes_error(notes, true, nullptr);

  const auto name = validatedFileName(files, "Q1/Q2.txt");  // one name, no folder
  const auto note = notes->stringByAppendingPathComponent(name);
  NSData::dataWithBytes_length("hello\n", 6)->writeToFile_atomically(note, true);
  std::cout << duplicateFileAtPath_error(files, note)->lastPathComponent() << '\n'
            << uniquePathForFileWithDesiredPath(files, note)->lastPathComponent() << '\n'
            << sizeOfItemAtPath_options(files, notes, 0) << " bytes\n";

  Copying copying;
  const auto copy = OVFileOperation::init();
  copy->setDelegate(&copying);
  const auto backup = folder->stringByAppendingPathComponent("backup");
  if (copy->beginCopyFromPath_toPath_options(notes, backup, kFSFileOperationOverwrite) == noErr) {
    NSRunLoop::currentRunLoop()->run();  // until the copy has arrived
  }
  copy->setDelegate(nullptr);
  removeDirectoryAtPath(files, folder);
}
