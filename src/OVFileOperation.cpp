// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVFileOperation.h>
#include <KestovaFoundation/OVNSErrorBuilder.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/FirstException.h>
#include <KestovaPlatform/NSBeep.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSFileManager.h>
#include <KestovaPlatform/NSLog.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSURL.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <span>
#include <thread>
#include <utility>

namespace kestova {
namespace {

constexpr std::chrono::milliseconds kPollInterval{200};

/// One text for copies and moves alike.
constexpr const char* kStartFailure = "FSPathMoveObjectAsync failed with %s on the file %@.";
constexpr const char* kScheduleFailure =
    "FSFileOperationScheduleWithRunLoop failed with %s on the file %@.";

/// The figures' keys in the order of their announcement; throughput changes without one.
constexpr std::array kFigureKeys = {"totalBytes",
                                    "bytesComplete",
                                    "bytesRemaining",
                                    "totalObjects",
                                    "objectsComplete",
                                    "objectsRemaining",
                                    "totalUserVisibleObjects",
                                    "userVisibleObjectsComplete",
                                    "userVisibleObjectsRemaining"};

/// The folder that a destination lies in; the working folder for a bare name.
Ref<NSString> folderOf(const Ref<NSString>& path) {
  const Ref<NSString> folder = path->stringByDeletingLastPathComponent();
  return folder->length() == 0 ? Ref<NSString>(".") : folder;
}

NSUInteger count(const Ref<NSDictionary>& status, const StringConstant& key) {
  const auto number = cast<NSNumber>(status->objectForKey(key));
  return number ? number->unsignedLongLongValue() : 0;
}

Ref<NSError> statusError(const char* format, OSStatus status, const Ref<NSString>& source) {
  return OVMakeError([&](const Ref<OVNSErrorBuilder>& builder) {
    builder->setDomain(NSOSStatusErrorDomain);
    builder->setCode(status);
    builder->setLocalizedDescription(
        NSString::stringWithFormat(format, GetMacOSStatusErrorString(status), source));
    builder->setLocalizedFailureReason(GetMacOSStatusCommentString(status));
  });
}

void setError(Ref<NSError>* error, const Ref<NSError>& value) {
  if (error != nullptr) {
    *error = value;
  }
}

const void* retainClient(const void* info) {
  static_cast<const NSObject*>(info)->retain();
  return info;
}

void releaseClient(const void* info) { static_cast<const NSObject*>(info)->release(); }

void stop(const FSFileOperationRef& operation) {
  FSFileOperationCancel(operation);
  FSFileOperationUnscheduleFromRunLoop(operation, CFRunLoopGetCurrent(), kCFRunLoopCommonModes);
}

}  // namespace

/// `info` is an NSObject: the context dictionary of an item, or the operation itself.
void MyFSFileOperationStatusProc(const FSFileOperationRef& operation, const char* currentItem,
                                 FSFileOperationStage stage, OSStatus error,
                                 const Ref<NSDictionary>& status, void* info) {
  const id client(static_cast<NSObject*>(info));
  const auto userInfo = cast<NSDictionary>(client);
  const auto target =
      cast<OVFileOperation>(userInfo ? userInfo->objectForKey("OVFileOperation") : client);
  const Ref<NSString> path =
      currentItem == nullptr ? nullptr : NSString::stringWithFileSystemRepresentation(currentItem);
  target->operation_statusChanged_currentItemPath_stage_error_userInfo(operation, status, path,
                                                                       stage, error, userInfo);
}

KESTOVA_DEFINE_CLASS(
    OVFileOperation,
    .property<&OVFileOperation::delegateObject, &OVFileOperation::setDelegateObject>("delegate")
        .property<&OVFileOperation::isCancelled>("isCancelled")
        .property<&OVFileOperation::isExecuting>("isExecuting")
        .property<&OVFileOperation::isFinished>("isFinished")
        .property<&OVFileOperation::fromPath>("fromPath")
        .property<&OVFileOperation::toPath>("toPath")
        .property<&OVFileOperation::currentFile>("currentFile")
        .property<&OVFileOperation::fromPaths>("fromPaths")
        .property<&OVFileOperation::toPaths>("toPaths")
        .property<&OVFileOperation::totalBytes>("totalBytes")
        .property<&OVFileOperation::bytesComplete>("bytesComplete")
        .property<&OVFileOperation::bytesRemaining>("bytesRemaining")
        .property<&OVFileOperation::totalObjects>("totalObjects")
        .property<&OVFileOperation::objectsComplete>("objectsComplete")
        .property<&OVFileOperation::objectsRemaining>("objectsRemaining")
        .property<&OVFileOperation::totalUserVisibleObjects>("totalUserVisibleObjects")
        .property<&OVFileOperation::userVisibleObjectsComplete>("userVisibleObjectsComplete")
        .property<&OVFileOperation::userVisibleObjectsRemaining>("userVisibleObjectsRemaining")
        .property<&OVFileOperation::throughput>("throughput"))

OVFileOperation::OVFileOperation(FSFileOperationRef operation) : mOperation(std::move(operation)) {}

/// A run of many items holds the object, so that only the operation for one item can still be at
/// work.
OVFileOperation::~OVFileOperation() {
  if (mOperation) {
    stop(mOperation);
  }
}

Ref<OVFileOperation> OVFileOperation::init() {
  FSFileOperationRef operation = FSFileOperationCreate();
  return operation ? make<OVFileOperation>(std::move(operation)) : nullptr;
}

OSStatus OVFileOperation::copyFromPath_toPath_options(const Ref<NSString>& fromPath,
                                                      const Ref<NSString>& toPath,
                                                      OptionBits options) {
  return runBlocking(&FSPathCopyObjectAsync, fromPath, toPath, options);
}

OSStatus OVFileOperation::moveFromPath_toPath_options(const Ref<NSString>& fromPath,
                                                      const Ref<NSString>& toPath,
                                                      OptionBits options) {
  return runBlocking(&FSPathMoveObjectAsync, fromPath, toPath, options);
}

OSStatus OVFileOperation::beginCopyFromPath_toPath_options(const Ref<NSString>& fromPath,
                                                           const Ref<NSString>& toPath,
                                                           OptionBits options) {
  return begin(&FSPathCopyObjectAsync, fromPath, toPath, options);
}

OSStatus OVFileOperation::beginMoveFromPath_toPath_options(const Ref<NSString>& fromPath,
                                                           const Ref<NSString>& toPath,
                                                           OptionBits options) {
  return begin(&FSPathMoveObjectAsync, fromPath, toPath, options);
}

bool OVFileOperation::beginCopyItemsAtPaths_toPaths_options_error(const Ref<NSArray>& fromPaths,
                                                                  const Ref<NSArray>& toPaths,
                                                                  OptionBits options,
                                                                  Ref<NSError>* error) {
  return beginOperation_forItemsAtPaths_toPaths_options_error(true, fromPaths, toPaths, options,
                                                              error);
}

bool OVFileOperation::beginMoveItemsAtPaths_toPaths_options_error(const Ref<NSArray>& fromPaths,
                                                                  const Ref<NSArray>& toPaths,
                                                                  OptionBits options,
                                                                  Ref<NSError>* error) {
  return beginOperation_forItemsAtPaths_toPaths_options_error(false, fromPaths, toPaths, options,
                                                              error);
}

void OVFileOperation::cancel() { setIsCancelled(true); }

// One item

OSStatus OVFileOperation::runBlocking(Starter start, const Ref<NSString>& fromPath,
                                      const Ref<NSString>& toPath, OptionBits options) {
  prepareSingle(fromPath, toPath, options);
  const OSStatus status = startSingle(start, nullptr, nullptr);
  return status == noErr ? handleSynchronousStatusChanges() : status;
}

OSStatus OVFileOperation::begin(Starter start, const Ref<NSString>& fromPath,
                                const Ref<NSString>& toPath, OptionBits options) {
  prepareSingle(fromPath, toPath, options);
  const FSFileOperationClientContext context{.info = static_cast<NSObject*>(this)};
  const OSStatus status = startSingle(start, &MyFSFileOperationStatusProc, &context);
  if (status != noErr) {
    return status;
  }
  return FSFileOperationScheduleWithRunLoop(mOperation, CFRunLoopGetCurrent(),
                                            kCFRunLoopCommonModes);
}

void OVFileOperation::prepareSingle(const Ref<NSString>& fromPath, const Ref<NSString>& toPath,
                                    OptionBits options) {
  setFromPath(fromPath);
  setToPath(toPath);
  mOptions = options;
  enterRunning();
}

void OVFileOperation::enterRunning() {
  setIsCancelled(false);
  setIsExecuting(true);
  setIsFinished(false);
}

OSStatus OVFileOperation::startSingle(Starter start, FSPathFileOperationStatusProcPtr callback,
                                      const FSFileOperationClientContext* context) {
  return start(mOperation, mFromPath->fileSystemRepresentation(),
               folderOf(mToPath)->fileSystemRepresentation(), mToPath->lastPathComponent(),
               mOptions, callback, 0.0, context);
}

/// Looks until the operation is complete or has failed. The handle is kept: a cancelled operation
/// lets go of its own, but still has a last status.
OSStatus OVFileOperation::handleSynchronousStatusChanges() {
  const FSFileOperationRef operation = mOperation;
  OSStatus error = noErr;
  FSFileOperationStage stage = kFSOperationStageUndefined;
  do {
    FSRef item;
    Ref<NSDictionary> status;
    FSFileOperationCopyStatus(operation, &item, &stage, &error, &status);
    if (status) {
      const Ref<NSURL> url = CFURLCreateFromFSRef(item);
      operation_statusChanged_currentItemPath_stage_error_userInfo(
          mOperation, status, url ? url->relativePath() : nullptr, stage, error, nullptr);
    }
    std::this_thread::sleep_for(kPollInterval);
  } while (stage != kFSOperationStageComplete && error == noErr);
  return error;
}

// Many items

bool OVFileOperation::beginOperation_forItemsAtPaths_toPaths_options_error(
    bool isCopy, const Ref<NSArray>& fromPaths, const Ref<NSArray>& toPaths, OptionBits options,
    Ref<NSError>* error) {
  if (toPaths->count() < fromPaths->count()) {
    throw NSException(NSRangeException, "There are fewer destinations than sources.");
  }
  setFromPaths(fromPaths);
  setToPaths(toPaths);
  mOptions = options;
  enterRunning();
  try {
    if (beginItems(isCopy ? &FSPathCopyObjectAsync : &FSPathMoveObjectAsync, error)) {
      return true;
    }
  } catch (...) {
    abandon();
    throw;
  }
  abandon();
  return false;
}

bool OVFileOperation::beginItems(Starter start, Ref<NSError>* error) {
  mOperations.assign(mFromPaths->count(), Item());
  for (NSUInteger i = 0; i < mFromPaths->count(); ++i) {
    if (!beginItem(start, cast<NSString>(mFromPaths->objectAtIndex(i)),
                   cast<NSString>(mToPaths->objectAtIndex(i)), error)) {
      return false;
    }
  }
  return true;
}

bool OVFileOperation::beginItem(Starter start, const Ref<NSString>& source,
                                const Ref<NSString>& destination, Ref<NSError>* error) {
  const Ref<NSFileManager> files = NSFileManager::defaultManager();
  const Ref<NSString> folder = folderOf(destination);
  if (!files->fileExistsAtPath(folder) &&
      !files->createDirectoryAtPath_withIntermediateDirectories_attributes_error(folder, true,
                                                                                 nullptr, error)) {
    return false;
  }
  const FSFileOperationRef operation = FSFileOperationCreate();
  if (const OSStatus status = startItem(operation, start, source, destination); status != noErr) {
    setError(error, statusError(kStartFailure, status, source));
    return false;
  }
  const OSStatus status =
      FSFileOperationScheduleWithRunLoop(operation, CFRunLoopGetCurrent(), kCFRunLoopCommonModes);
  if (status != noErr) {
    stop(operation);
    setError(error, statusError(kScheduleFailure, status, source));
    return false;
  }
  mOperations[mNumberOfOperations].operation = operation;
  ++mNumberOfOperations;
  ++mNumberOfUnfinishedOperations;
  return true;
}

OSStatus OVFileOperation::startItem(const FSFileOperationRef& operation, Starter start,
                                    const Ref<NSString>& source, const Ref<NSString>& destination) {
  const Ref<NSString> folder = folderOf(destination);
  const Ref<NSString> name = destination->lastPathComponent();
  const Ref<NSDictionary> userInfo = NSDictionary::of({{"OVFileOperation", self()},
                                                       {"fromPath", source},
                                                       {"intoPath", folder},
                                                       {"fileName", name},
                                                       {"index", mNumberOfOperations}});
  const FSFileOperationClientContext context{.info = static_cast<NSObject*>(userInfo.get()),
                                             .retain = &retainClient,
                                             .release = &releaseClient};
  return start(operation, source->fileSystemRepresentation(), folder->fileSystemRepresentation(),
               name, mOptions, &MyFSFileOperationStatusProc, 0.0, &context);
}

/// Takes a run back that could not be started as a whole.
void OVFileOperation::abandon() {
  cancelAllOperations();
  setIsCancelled(false);
  setIsExecuting(false);
  setIsFinished(false);
}

// Reports

void OVFileOperation::operation_statusChanged_currentItemPath_stage_error_userInfo(
    const FSFileOperationRef& operation, const Ref<NSDictionary>& status,
    const Ref<NSString>& currentItemPath, FSFileOperationStage stage, OSStatus error,
    const Ref<NSDictionary>& userInfo) {
  const Ref<OVFileOperation> keptAlive(this);  // a delegate may let go of it
  const auto number = userInfo ? cast<NSNumber>(userInfo->objectForKey("index")) : nullptr;
  const NSUInteger index = number ? number->unsignedLongLongValue() : 0;
  if (error != noErr) {
    NSBeep();
    NSLog("Error %ld", static_cast<long>(error));
  }
  if (operation == mOperation) {
    publish(figuresOf(status));
  } else {
    applyToItem(index, status);
  }
  setCurrentFile(currentItemPath);
  if (mDelegate != nullptr) {
    mDelegate->fileOperationStatusChanged(keptAlive);
  }
  if (mIsCancelled) {
    cancelAllOperations();
  } else if (stage == kFSOperationStageComplete) {
    complete(operation, index, error);
  }
}

OVFileOperation::Figures OVFileOperation::figuresOf(const Ref<NSDictionary>& status) {
  const auto throughput = cast<NSNumber>(status->objectForKey(kFSOperationThroughputKey));
  return {
      .totalBytes = count(status, kFSOperationTotalBytesKey),
      .bytesComplete = count(status, kFSOperationBytesCompleteKey),
      .bytesRemaining = count(status, kFSOperationBytesRemainingKey),
      .totalObjects = count(status, kFSOperationTotalObjectsKey),
      .objectsComplete = count(status, kFSOperationObjectsCompleteKey),
      .objectsRemaining = count(status, kFSOperationObjectsRemainingKey),
      .totalUserVisibleObjects = count(status, kFSOperationTotalUserVisibleObjectsKey),
      .userVisibleObjectsComplete = count(status, kFSOperationUserVisibleObjectsCompleteKey),
      .userVisibleObjectsRemaining = count(status, kFSOperationUserVisibleObjectsRemainingKey),
      .throughput = throughput ? throughput->doubleValue() : 0.0,
  };
}

/// An item of many counts all its user-visible objects as complete from its first report on.
/// Applications have come to rely on it.
void OVFileOperation::applyToItem(NSUInteger index, const Ref<NSDictionary>& status) {
  Figures& figures = mOperations.at(index).figures;
  figures = figuresOf(status);
  figures.userVisibleObjectsComplete = figures.totalUserVisibleObjects;
  updateStatus();
}

void OVFileOperation::updateStatus() {
  Figures sum;
  for (NSUInteger i = 0; i < mNumberOfOperations; ++i) {
    const Item& item = mOperations[i];
    sum.totalBytes += item.figures.totalBytes;
    sum.bytesComplete += item.figures.bytesComplete;
    sum.bytesRemaining += item.figures.bytesRemaining;
    sum.totalObjects += item.figures.totalObjects;
    sum.objectsComplete += item.figures.objectsComplete;
    sum.objectsRemaining += item.figures.objectsRemaining;
    sum.totalUserVisibleObjects += item.figures.totalUserVisibleObjects;
    sum.userVisibleObjectsComplete += item.figures.userVisibleObjectsComplete;
    sum.userVisibleObjectsRemaining += item.figures.userVisibleObjectsRemaining;
    sum.throughput += item.figures.throughput;
  }
  publish(sum);
}

/// Whoever is told that the figures change is told when they have, or that they don't.
void OVFileOperation::publish(const Figures& figures) {
  FirstException failure;
  std::size_t announced = 0;
  failure.attempt([&] {
    for (; announced < kFigureKeys.size(); ++announced) {
      willChangeValueForKey(kFigureKeys[announced]);
    }
    setFigures(figures);
  });
  for (const char* key : std::span(kFigureKeys).first(announced)) {
    failure.attempt([&] { didChangeValueForKey(key); });
  }
  failure.rethrow();
}

void OVFileOperation::setFigures(const Figures& figures) {
  mTotalBytes = figures.totalBytes;
  mBytesComplete = figures.bytesComplete;
  mBytesRemaining = figures.bytesRemaining;
  mTotalObjects = figures.totalObjects;
  mObjectsComplete = figures.objectsComplete;
  mObjectsRemaining = figures.objectsRemaining;
  mTotalUserVisibleObjects = figures.totalUserVisibleObjects;
  mUserVisibleObjectsComplete = figures.userVisibleObjectsComplete;
  mUserVisibleObjectsRemaining = figures.userVisibleObjectsRemaining;
  mThroughput = figures.throughput;
}

void OVFileOperation::complete(const FSFileOperationRef& operation, NSUInteger index,
                               OSStatus error) {
  FSFileOperationUnscheduleFromRunLoop(operation, CFRunLoopGetCurrent(), kCFRunLoopCommonModes);
  if (operation != mOperation) {
    mOperations.at(index).operation = nullptr;
    --mNumberOfUnfinishedOperations;
  }
  if (mNumberOfUnfinishedOperations != 0) {
    return;
  }
  mOperations.clear();
  mNumberOfOperations = 0;
  setIsExecuting(false);
  setIsFinished(true);
  if (mDelegate != nullptr) {
    mDelegate->fileOperationDidFinish_error(Ref<OVFileOperation>(this), error);
  }
}

void OVFileOperation::cancelAllOperations() {
  if (mOperation) {
    stop(mOperation);
    mOperation = nullptr;
  }
  const std::vector<Item> items = std::exchange(mOperations, {});
  mNumberOfOperations = 0;
  mNumberOfUnfinishedOperations = 0;
  for (const Item& item : items) {
    if (item.operation) {
      stop(item.operation);
    }
  }
}

// Properties

void OVFileOperation::setDelegate(OVFileOperationDelegate* delegate) {
  KeyValueChange change(*this, "delegate");
  mDelegate = delegate;
}

/// The delegate by name: it is no object by itself, but what is observed or listed is one.
id OVFileOperation::delegateObject() const { return id(dynamic_cast<NSObject*>(mDelegate)); }

void OVFileOperation::setDelegateObject(const id& delegate) {
  setDelegate(dynamic_cast<OVFileOperationDelegate*>(delegate.get()));
}

void OVFileOperation::setIsCancelled(bool isCancelled) {
  KeyValueChange change(*this, "isCancelled");
  mIsCancelled = isCancelled;
}

void OVFileOperation::setIsExecuting(bool isExecuting) {
  KeyValueChange change(*this, "isExecuting");
  mIsExecuting = isExecuting;
}

void OVFileOperation::setIsFinished(bool isFinished) {
  KeyValueChange change(*this, "isFinished");
  mIsFinished = isFinished;
}

void OVFileOperation::setCurrentFile(const Ref<NSString>& currentFile) {
  KeyValueChange change(*this, "currentFile");
  mCurrentFile = currentFile;
}

void OVFileOperation::setFromPath(const Ref<NSString>& fromPath) {
  KeyValueChange change(*this, "fromPath");
  mFromPath = copyOf(fromPath);
}

void OVFileOperation::setToPath(const Ref<NSString>& toPath) {
  KeyValueChange change(*this, "toPath");
  mToPath = copyOf(toPath);
}

void OVFileOperation::setFromPaths(const Ref<NSArray>& fromPaths) {
  KeyValueChange change(*this, "fromPaths");
  mFromPaths = copyOf(fromPaths);
}

void OVFileOperation::setToPaths(const Ref<NSArray>& toPaths) {
  KeyValueChange change(*this, "toPaths");
  mToPaths = copyOf(toPaths);
}

}  // namespace kestova
