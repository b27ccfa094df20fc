// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/FSFileOperation.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSError.h>

#include <atomic>
#include <vector>

namespace kestova {

class OVFileOperation;

/// Hears of a file operation's progress and end; a class overrides what it wants to hear. Called on
/// the thread that began the operation, from its run loop or, for the blocking forms, from within
/// them, with no lock held; it may cancel the operation from there.
class KESTOVA_FOUNDATION_EXPORT OVFileOperationDelegate {
 public:
  /// After each status report, when the figures have been updated.
  virtual void fileOperationStatusChanged(const Ref<OVFileOperation>&) {}

  /// Once, when a run has ended, with the status of the report that ended it: 0 for success. Not
  /// called for a cancelled run.
  virtual void fileOperationDidFinish_error(const Ref<OVFileOperation>&, OSStatus) {}

 protected:
  ~OVFileOperationDelegate() = default;
};

/// Copies or moves one item or a list of items, with progress figures that can be observed.
///
///     auto operation = OVFileOperation::init();
///     operation->setDelegate(this);
///     Ref<NSError> error;
///     if (!operation->beginCopyItemsAtPaths_toPaths_options_error(from, to, 0, &error)) {
///       …
///     }  // progress arrives while this thread's run loop runs
///
/// Three shapes: a blocking copy or move of one item, which looks five times a second; a
/// non-blocking one of one item, and one of many, whose reports arrive on the run loop of the
/// calling thread in the common modes. One object carries one run at a time; a cancelled one
/// carries no single-item run any more.
///
/// Paths to an item name the item itself: "toPath" is the full destination with the new name. What
/// arrives and when it appears is told in FSFileOperation.h; `options` is its sum of bits.
///
/// All properties but the delegate are read-only and can be observed by their names; `throughput`
/// changes without notice.
///
/// Threads: begin, cancel and release it on one thread; only a blocking run may be cancelled from
/// another. A run of many items keeps the object alive until it has ended; an object that goes
/// while one item runs stops it.
class KESTOVA_FOUNDATION_EXPORT OVFileOperation : public NSObject {
  KESTOVA_CLASS(OVFileOperation, NSObject)

 public:
  /// A new, idle operation; null when the system can't make one.
  static Ref<OVFileOperation> init();

  /// \name Blocking
  /// Answer 0 for success, else the status that ended it; no error value is made. They hold the
  /// calling thread, looking every 0.2 s, also once after the end. The delegate is called from
  /// within. A run that fails at its start leaves the object executing.
  /// @{
  OSStatus copyFromPath_toPath_options(const Ref<NSString>& fromPath, const Ref<NSString>& toPath,
                                       OptionBits options);
  OSStatus moveFromPath_toPath_options(const Ref<NSString>& fromPath, const Ref<NSString>& toPath,
                                       OptionBits options);
  /// @}

  /// \name Non-blocking, one item
  /// Answer 0 when the run has begun, else why it could not.
  /// @{
  OSStatus beginCopyFromPath_toPath_options(const Ref<NSString>& fromPath,
                                            const Ref<NSString>& toPath, OptionBits options);
  OSStatus beginMoveFromPath_toPath_options(const Ref<NSString>& fromPath,
                                            const Ref<NSString>& toPath, OptionBits options);
  /// @}

  /// \name Non-blocking, many items
  ///
  /// The i-th source goes to the i-th destination; a missing folder of a destination is made first,
  /// with those above it. When an item can't be started, the ones before it are stopped, the three
  /// state flags become false, and false is answered with an error of NSOSStatusErrorDomain (of the
  /// file manager, where a folder can't be made). Destinations fewer than sources throw
  /// NSRangeException. With no items at all true is answered and the run stays executing for ever:
  /// it has nothing to end it.
  /// @{
  bool beginCopyItemsAtPaths_toPaths_options_error(const Ref<NSArray>& fromPaths,
                                                   const Ref<NSArray>& toPaths, OptionBits options,
                                                   Ref<NSError>* error = nullptr);
  bool beginMoveItemsAtPaths_toPaths_options_error(const Ref<NSArray>& fromPaths,
                                                   const Ref<NSArray>& toPaths, OptionBits options,
                                                   Ref<NSError>* error = nullptr);
  /// @}

  /// Asks for the end: sets `isCancelled`, and the next report stops the work and is the last. The
  /// run then stays executing and never finishes; its delegate is not told of an end.
  void cancel();

  /// Unowned: whoever sets it takes it back (null) before it goes.
  OVFileOperationDelegate* delegate() const noexcept { return mDelegate; }
  void setDelegate(OVFileOperationDelegate* delegate);

  /// \name The state of the latest run, observable
  /// All are false before the first run; at most one of the last two is true.
  /// @{
  bool isCancelled() const noexcept { return mIsCancelled; }
  bool isExecuting() const noexcept { return mIsExecuting; }
  bool isFinished() const noexcept { return mIsFinished; }
  /// @}

  /// The paths of the latest run of one item, and of many; null before there was one.
  Ref<NSString> fromPath() const { return mFromPath; }
  Ref<NSString> toPath() const { return mToPath; }
  Ref<NSArray> fromPaths() const { return mFromPaths; }
  Ref<NSArray> toPaths() const { return mToPaths; }

  /// The path of the item reported last; null before the first.
  Ref<NSString> currentFile() const { return mCurrentFile; }

  /// \name Figures, summed over the items of the run
  /// @{
  NSUInteger totalBytes() const noexcept { return mTotalBytes; }
  NSUInteger bytesComplete() const noexcept { return mBytesComplete; }
  NSUInteger bytesRemaining() const noexcept { return mBytesRemaining; }
  /// Files, folders and links.
  NSUInteger totalObjects() const noexcept { return mTotalObjects; }
  NSUInteger objectsComplete() const noexcept { return mObjectsComplete; }
  NSUInteger objectsRemaining() const noexcept { return mObjectsRemaining; }
  /// Those whose name has no leading full stop.
  NSUInteger totalUserVisibleObjects() const noexcept { return mTotalUserVisibleObjects; }
  /// In a run of many items this is the items' totals from the start, not what is done:
  /// applications rely on it. `objectsComplete` tells what is done.
  NSUInteger userVisibleObjectsComplete() const noexcept { return mUserVisibleObjectsComplete; }
  NSUInteger userVisibleObjectsRemaining() const noexcept { return mUserVisibleObjectsRemaining; }
  /// Bytes per second.
  double throughput() const noexcept { return mThroughput; }
  /// @}

 protected:
  explicit OVFileOperation(FSFileOperationRef operation);
  ~OVFileOperation() override;

 private:
  friend void MyFSFileOperationStatusProc(const FSFileOperationRef& operation,
                                          const char* currentItem, FSFileOperationStage stage,
                                          OSStatus error, const Ref<NSDictionary>& status,
                                          void* info);

  /// The figures of one item.
  struct Figures {
    NSUInteger totalBytes = 0;
    NSUInteger bytesComplete = 0;
    NSUInteger bytesRemaining = 0;
    NSUInteger totalObjects = 0;
    NSUInteger objectsComplete = 0;
    NSUInteger objectsRemaining = 0;
    NSUInteger totalUserVisibleObjects = 0;
    NSUInteger userVisibleObjectsComplete = 0;
    NSUInteger userVisibleObjectsRemaining = 0;
    double throughput = 0;
  };
  struct Item {
    FSFileOperationRef operation;
    Figures figures;
  };
  /// FSPathCopyObjectAsync or FSPathMoveObjectAsync.
  using Starter = decltype(&FSPathCopyObjectAsync);

  static Figures figuresOf(const Ref<NSDictionary>& status);

  void setIsCancelled(bool isCancelled);
  void setIsExecuting(bool isExecuting);
  void setIsFinished(bool isFinished);
  void setCurrentFile(const Ref<NSString>& currentFile);
  void setFromPath(const Ref<NSString>& fromPath);
  void setToPath(const Ref<NSString>& toPath);
  void setFromPaths(const Ref<NSArray>& fromPaths);
  void setToPaths(const Ref<NSArray>& toPaths);
  id delegateObject() const;
  void setDelegateObject(const id& delegate);

  OSStatus runBlocking(Starter start, const Ref<NSString>& fromPath, const Ref<NSString>& toPath,
                       OptionBits options);
  OSStatus begin(Starter start, const Ref<NSString>& fromPath, const Ref<NSString>& toPath,
                 OptionBits options);
  void prepareSingle(const Ref<NSString>& fromPath, const Ref<NSString>& toPath,
                     OptionBits options);
  void enterRunning();
  OSStatus startSingle(Starter start, FSPathFileOperationStatusProcPtr callback,
                       const FSFileOperationClientContext* context);
  OSStatus handleSynchronousStatusChanges();

  bool beginOperation_forItemsAtPaths_toPaths_options_error(bool isCopy,
                                                            const Ref<NSArray>& fromPaths,
                                                            const Ref<NSArray>& toPaths,
                                                            OptionBits options,
                                                            Ref<NSError>* error);
  bool beginItems(Starter start, Ref<NSError>* error);
  bool beginItem(Starter start, const Ref<NSString>& source, const Ref<NSString>& destination,
                 Ref<NSError>* error);
  OSStatus startItem(const FSFileOperationRef& operation, Starter start,
                     const Ref<NSString>& source, const Ref<NSString>& destination);
  void abandon();

  void operation_statusChanged_currentItemPath_stage_error_userInfo(
      const FSFileOperationRef& operation, const Ref<NSDictionary>& status,
      const Ref<NSString>& currentItemPath, FSFileOperationStage stage, OSStatus error,
      const Ref<NSDictionary>& userInfo);
  void applyToItem(NSUInteger index, const Ref<NSDictionary>& status);
  void complete(const FSFileOperationRef& operation, NSUInteger index, OSStatus error);
  void updateStatus();
  void publish(const Figures& figures);
  void setFigures(const Figures& figures);
  void cancelAllOperations();

  Ref<NSString> mFromPath;
  Ref<NSString> mToPath;
  Ref<NSArray> mFromPaths;
  Ref<NSArray> mToPaths;
  OptionBits mOptions = kFSFileOperationDefaultOptions;
  OVFileOperationDelegate* mDelegate = nullptr;
  FSFileOperationRef mOperation;
  /// One per source of a run of many items; those not started yet, and those that are done, have no
  /// operation, but keep their figures.
  std::vector<Item> mOperations;
  NSUInteger mNumberOfOperations = 0;
  NSUInteger mNumberOfUnfinishedOperations = 0;
  /// Atomic, so that another thread may ask a blocking run to end.
  std::atomic<bool> mIsCancelled{false};
  std::atomic<bool> mIsExecuting{false};
  std::atomic<bool> mIsFinished{false};
  Ref<NSString> mCurrentFile;
  NSUInteger mTotalBytes = 0;
  NSUInteger mBytesComplete = 0;
  NSUInteger mBytesRemaining = 0;
  NSUInteger mTotalObjects = 0;
  NSUInteger mObjectsComplete = 0;
  NSUInteger mObjectsRemaining = 0;
  NSUInteger mTotalUserVisibleObjects = 0;
  NSUInteger mUserVisibleObjectsComplete = 0;
  NSUInteger mUserVisibleObjectsRemaining = 0;
  double mThroughput = 0;
};

}  // namespace kestova
