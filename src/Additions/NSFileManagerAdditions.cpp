// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSFileManagerAdditions.h>
#include <KestovaFoundation/Additions/NSStringEditing.h>
#include <KestovaPlatform/FSCatalog.h>
#include <KestovaPlatform/NSBeep.h>
#include <KestovaPlatform/NSCharacterSet.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSPipe.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSTask.h>
#include <KestovaPlatform/NSURL.h>

#include <string_view>
#include <vector>

#include "Additions/FolderIdentity.h"
#include "Additions/PathArgument.h"

namespace kestova {

namespace {

constexpr NSUInteger kLongestName = 255;

/// As a file of that name would be listed; null for what no file can have in its name.
Ref<NSString> asFileName(const Ref<NSString>& name) {
  try {
    return NSString::stringWithFileSystemRepresentation(name->fileSystemRepresentation());
  } catch (const NSException&) {
    return nullptr;
  }
}

constexpr bool isHighSurrogate(unichar unit) { return (unit & 0xFC00U) == 0xD800U; }

Ref<NSString> cutTo(NSUInteger length, const Ref<NSString>& text) {
  if (text->length() <= length) {
    return text;
  }
  return text->substringToIndex(isHighSurrogate(text->characterAtIndex(length - 1)) ? length - 1
                                                                                    : length);
}

/// A path apart: where the item is, its name without the extension, and that, null for none.
struct PathParts {
  explicit PathParts(const Ref<NSString>& path)
      : folder(path->stringByDeletingLastPathComponent()),
        stem(path->lastPathComponent()->stringByDeletingPathExtension()),
        extension(path->pathExtension()) {}

  Ref<NSString> withExtension(const Ref<NSString>& name) const {
    const bool hasOne = extension && extension->length() > 0;
    const auto extended = hasOne ? name->stringByAppendingPathExtension(extension) : nullptr;
    return extended ? extended : name;
  }
  Ref<NSString> pathOf(const Ref<NSString>& name) const {
    return folder->stringByAppendingPathComponent(name);
  }

  Ref<NSString> folder;
  Ref<NSString> stem;
  Ref<NSString> extension;
};

Ref<NSArray> namesIn(const Ref<NSFileManager>& self, const Ref<NSString>& folder) {
  const auto names = self->contentsOfDirectoryAtPath_error(folder);
  return names ? names : NSArray::array();
}

bool isFolder(const Ref<NSFileManager>& self, const Ref<NSString>& path) {
  bool isDirectory = false;
  return self->fileExistsAtPath_isDirectory(path, &isDirectory) && isDirectory;
}

/// Runs the thread's run loop in a mode of its own until the task has ended. A mode in which
/// nothing is registered ends its run at once; what is awaited then is the end itself.
void waitPrivately(const Ref<NSTask>& task) {
  const auto runLoop = NSRunLoop::currentRunLoop();
  while (task->isRunning()) {
    const auto limit = NSDate::dateWithTimeIntervalSinceNow(0.1);
    if (!runLoop->runMode_beforeDate("SomePrivateMode", limit)) {
      task->waitUntilExit();
    }
  }
}

/// What a program writes to its standard output; null when it fails or can't be started.
Ref<NSData> outputOf(const Ref<NSString>& program, const Ref<NSArray>& arguments) {
  const auto output = NSPipe::pipe();
  if (!output) {
    return nullptr;
  }
  try {
    const auto task = NSTask::init();
    task->setLaunchPath(program);
    task->setArguments(arguments);
    task->setStandardOutput(output);
    task->launch();
    waitPrivately(task);
    return task->terminationStatus() == 0 ? output->fileHandleForReading()->availableData()
                                          : nullptr;
  } catch (const NSException&) {
    return nullptr;
  }
}

enum class TakenName { replaced, left };

/// Moves an item to a path, where that is not taken. False when something fails, and where the item
/// would go with what it replaces.
bool moveItem(const Ref<NSFileManager>& self, const Ref<NSString>& path,
              const Ref<NSString>& targetPath, TakenName taken) {
  if (taken == TakenName::replaced && self->fileExistsAtPath(targetPath) &&
      (isFolderWithin(self, path->stringByDeletingLastPathComponent(), targetPath) ||
       !self->removeItemAtPath_error(targetPath))) {
    return false;
  }
  return self->fileExistsAtPath(targetPath) || self->moveItemAtPath_toPath_error(path, targetPath);
}

/// A folder whose items are being removed.
struct FolderAtWork {
  Ref<NSString> path;
  Ref<NSArray> names;
  NSUInteger next = 0;

  bool isEmptied() const { return next == names->count(); }
  Ref<NSString> takePath() {
    return path->stringByAppendingPathComponent(cast<NSString>(names->objectAtIndex(next++)));
  }
};

std::uint64_t requestedSizes(const FSCatalogInfo& info, NSUInteger options) {
  const auto sizeOfFork = [options](std::uint64_t logical, std::uint64_t physical) {
    return ((options & OVFolderSizeLogical) != 0 ? logical : 0) +
           ((options & OVFolderSizePhysical) != 0 ? physical : 0);
  };
  std::uint64_t size = 0;
  if ((options & OVFolderSizeDataFork) != 0) {
    size += sizeOfFork(info.dataLogicalSize, info.dataPhysicalSize);
  }
  if ((options & OVFolderSizeResourceFork) != 0) {
    size += sizeOfFork(info.rsrcLogicalSize, info.rsrcPhysicalSize);
  }
  return size;
}

}  // namespace

inline namespace NSFileManager_KestovaAdditions {

Ref<NSString> validatedFileName(const Ref<NSFileManager>&, const Ref<NSString>& name) {
  if (!name) {
    return nullptr;
  }
  const auto decomposed = name->decomposedStringWithCanonicalMapping();
  const auto printable =
      stringByDeletingCharactersInSet(decomposed, NSCharacterSet::controlCharacterSet());
  const auto valid =
      asFileName(printable->stringByReplacingOccurrencesOfString_withString("/", ":"));
  return valid ? cutTo(kLongestName, valid) : nullptr;
}

Ref<NSString> findSystemFolderType_forDomain(const Ref<NSFileManager>&, OSType type,
                                             std::int16_t domain) {
  FSRef folder;
  return FSFindFolder(domain, type, false, &folder) == noErr ? CFURLCreateFromFSRef(folder)->path()
                                                             : nullptr;
}

Ref<NSString> fileTypeForFileAtPath(const Ref<NSFileManager>&, const Ref<NSString>& path) {
  const auto output =
      path ? outputOf("/usr/bin/file", NSArray::of("-b", pathArgument(path))) : nullptr;
  if (!output || output->length() == 0) {
    return nullptr;
  }
  const auto bytes = output->span();
  const auto text = NSString::stringWithUTF8String(
      std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
  return text ? text->substringToIndex(text->length() - 1) : nullptr;
}

Ref<NSString> pathForDuplicateOfFileAtPath(const Ref<NSFileManager>& self,
                                           const Ref<NSString>& path) {
  if (!self->fileExistsAtPath(path)) {
    return path;
  }
  const PathParts parts(path);
  auto name = parts.withExtension(NSString::stringWithFormat("%@ copy", parts.stem));
  for (NSInteger number = 1; self->fileExistsAtPath(parts.pathOf(name)); ++number) {
    name = parts.withExtension(NSString::stringWithFormat("%@ copy %ld", name, number));
  }
  return parts.pathOf(name);
}

Ref<NSString> uniquePathForFileWithDesiredPath(const Ref<NSFileManager>& self,
                                               const Ref<NSString>& path) {
  if (!self->fileExistsAtPath(path)) {
    return path;
  }
  const PathParts parts(path);
  for (NSInteger number = 2;; ++number) {
    const auto name = parts.withExtension(NSString::stringWithFormat("%@ %ld", parts.stem, number));
    auto candidate = parts.pathOf(name);
    if (!self->fileExistsAtPath(candidate)) {
      return candidate;
    }
  }
}

Ref<NSString> duplicateFileAtPath_error(const Ref<NSFileManager>& self, const Ref<NSString>& path,
                                        Ref<NSError>* error) {
  const auto copy = pathForDuplicateOfFileAtPath(self, path);
  return self->copyItemAtPath_toPath_error(path, copy, error) ? copy : nullptr;
}

bool moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace(const Ref<NSFileManager>& self,
                                                               const Ref<NSString>& path,
                                                               const Ref<NSString>& targetPath,
                                                               bool replace) {
  if (!path || !targetPath || isSameFolder(self, path, targetPath)) {
    return true;
  }
  const auto taken = replace ? TakenName::replaced : TakenName::left;
  for (const id& each : namesIn(self, path)) {
    const auto name = cast<NSString>(each);
    if (!name->hasPrefix(".") &&
        !moveItem(self, path->stringByAppendingPathComponent(name),
                  targetPath->stringByAppendingPathComponent(name), taken)) {
      NSBeep();
      return false;
    }
  }
  return true;
}

bool removeDirectoryAtPath(const Ref<NSFileManager>& self, const Ref<NSString>& path) {
  std::vector<FolderAtWork> folders = {{path, namesIn(self, path)}};
  while (!folders.empty()) {
    if (folders.back().isEmptied()) {
      if (!self->removeItemAtPath_error(folders.back().path)) {
        return false;
      }
      folders.pop_back();
      continue;
    }
    const auto item = folders.back().takePath();
    if (isFolder(self, item)) {
      folders.push_back({item, namesIn(self, item)});
    } else if (!self->removeItemAtPath_error(item)) {
      return false;
    }
  }
  return true;
}

}  // namespace NSFileManager_KestovaAdditions

inline namespace NSFileManager_KestovaFolderSizeAdditions {

std::uint64_t fastFolderSizeAtFSRef_options(const Ref<NSFileManager>&, const FSRef& item,
                                            NSUInteger options) {
  FSCatalogInfo info;
  FSIterator iterator;
  const OSStatus status = FSOpenIterator(item, kFSIterateFlat, &iterator);
  if (status == errFSNotAFolder) {
    return FSGetCatalogInfo(item, &info) == noErr ? requestedSizes(info, options) : 0;
  }
  if (status != noErr) {
    return 0;
  }
  // What can't be read beneath the folder counts nothing; the rest does.
  FSGetSubtreeInfo(iterator, &info);
  FSCloseIterator(iterator);
  return requestedSizes(info, options);
}

std::uint64_t sizeOfItemAtPath_options(const Ref<NSFileManager>& self, const Ref<NSString>& path,
                                       NSUInteger options) {
  FSRef item;
  if (!path ||
      !CFURLGetFSRef(CFURLCreateWithFileSystemPath(path, kCFURLPOSIXPathStyle, false), &item)) {
    return 0;
  }
  return fastFolderSizeAtFSRef_options(self, item, options == 0 ? OVFolderSizeDefault : options);
}

}  // namespace NSFileManager_KestovaFolderSizeAdditions

}  // namespace kestova
