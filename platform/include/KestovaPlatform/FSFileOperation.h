// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/FSRef.h>
#include <KestovaPlatform/MacErrors.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSString.h>

#include <cstdint>
#include <memory>
#include <string>

/// \file
/// Asynchronous copy and move of files and folders.
///
/// An operation is created, started with a source and a destination, and scheduled on a run loop;
/// its status function is then called on that run loop's thread as the work goes on: at every
/// change of the stage, a few dozen times a second in between, and once more, with the stage
/// complete, at the end. An operation that is not scheduled works all the same and is asked with
/// `FSFileOperationCopyStatus`.
///
/// What arrives: contents with their holes, permissions, times to the nanosecond, extended
/// attributes and access control lists, symbolic links as such, hard links within the tree, FIFOs,
/// sockets, empty folders, and the owner where the process may set it. The destination's name
/// appears only when its content is complete; a cancelled, failed or killed operation leaves
/// nothing half-written under it. See docs/formats/staging.md.

namespace kestova {

class FileOperationRun;

/// One copy or move at work, behind the functions below.
///
/// It belongs to the thread that starts it, but for `FSFileOperationCancel` and
/// `FSFileOperationCopyStatus`, which any thread may call. One that goes while it works is
/// cancelled; its last reference then waits until what was half-made is removed.
class KESTOVA_PLATFORM_EXPORT FSFileOperation : public NSObject {
  KESTOVA_CLASS(FSFileOperation, NSObject)

 protected:
  FSFileOperation();
  ~FSFileOperation() override;

 private:
  friend class SystemFileOperationService;

  std::unique_ptr<FileOperationRun> run_;
};

using FSFileOperationRef = Ref<FSFileOperation>;

using OptionBits = std::uint32_t;

/// How an operation is done, as a sum of bits.
enum : OptionBits {
  kFSFileOperationDefaultOptions = 0,
  /// Replaces an existing destination, as a whole, at the moment when the new item is complete.
  kFSFileOperationOverwrite = 1,
  /// Leaves out what the process may not read, instead of failing.
  kFSFileOperationSkipSourcePermissionErrors = 2,
  /// Refuses a move that would have to copy.
  kFSFileOperationDoNotMoveAcrossVolumes = 4,
  /// Does not add up bytes and objects first: totals then grow with the work.
  kFSFileOperationSkipPreflight = 8,
};

/// Where an operation stands.
using FSFileOperationStage = std::uint32_t;
enum : FSFileOperationStage {
  kFSOperationStageUndefined = 0,
  kFSOperationStagePreflighting = 1,
  kFSOperationStageRunning = 2,
  kFSOperationStageComplete = 3,
};

/// \name Keys of the status dictionary: unsigned 64-bit counts
/// Bytes are logical sizes; objects are files, folders and links; user-visible ones are those whose
/// name has no leading full stop. Complete counts never fall; at a successful end they are the
/// totals.
/// @{
extern KESTOVA_PLATFORM_EXPORT const StringConstant kFSOperationTotalBytesKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant kFSOperationBytesCompleteKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant kFSOperationBytesRemainingKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant kFSOperationTotalObjectsKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant kFSOperationObjectsCompleteKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant kFSOperationObjectsRemainingKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant kFSOperationTotalUserVisibleObjectsKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant kFSOperationUserVisibleObjectsCompleteKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant kFSOperationUserVisibleObjectsRemainingKey;
/// Bytes per second over the last few seconds, a double.
extern KESTOVA_PLATFORM_EXPORT const StringConstant kFSOperationThroughputKey;
/// @}

/// What the client wants to get back in its status function. `retain`, where given, is called with
/// `info` when an operation starts, `release` once when the operation lets go of it; either may be
/// null. `version` and `copyDescription` are not looked at.
struct FSFileOperationClientContext {
  NSInteger version = 0;
  void* info = nullptr;
  const void* (*retain)(const void* info) = nullptr;
  void (*release)(const void* info) = nullptr;
  Ref<NSString> (*copyDescription)(const void* info) = nullptr;
};

/// Told of an operation's status, on the thread of the run loop that it is scheduled on, with no
/// lock held. It may cancel, unschedule or release the operation. `currentItem` is the path of the
/// source item at hand, of the one that failed when `error` is not 0; `status` holds the ten
/// figures.
using FSPathFileOperationStatusProcPtr = void (*)(const FSFileOperationRef& operation,
                                                  const char* currentItem,
                                                  FSFileOperationStage stage, OSStatus error,
                                                  const Ref<NSDictionary>& status, void* info);

/// A new operation, which carries one copy or move at a time, and another one after its end unless
/// it was cancelled; null when there can't be one.
KESTOVA_PLATFORM_EXPORT FSFileOperationRef FSFileOperationCreate();

/// Starts copying the item at `source` into the folder `destinationFolder` under `destinationName`
/// (null: the source's own name). Paths are bytes as the file system knows them; relative ones are
/// taken from the working folder at this moment.
///
/// `callback` may be null; `statusChangeInterval` is the least time between two reports in seconds,
/// 0 for as often as is sensible; `context` may be null and is copied.
///
/// Answers 0 when the work has begun; at once −50 (paramErr) for an operation that still runs or
/// was cancelled, for nothing, or for a name that can't be one, −37 (bdNamErr) for a name too long,
/// −43 (fnfErr) for a missing source, −120 (dirNFErr) for a missing folder, −122 (badMovErr) for a
/// folder to be put into itself. All else is reported as the operation's status.
KESTOVA_PLATFORM_EXPORT OSStatus FSPathCopyObjectAsync(
    const FSFileOperationRef& operation, const std::string& source,
    const std::string& destinationFolder, const Ref<NSString>& destinationName, OptionBits options,
    FSPathFileOperationStatusProcPtr callback, NSTimeInterval statusChangeInterval,
    const FSFileOperationClientContext* context);

/// The same for a move: a renaming on one volume, else a whole copy after which the source is
/// removed.
KESTOVA_PLATFORM_EXPORT OSStatus FSPathMoveObjectAsync(
    const FSFileOperationRef& operation, const std::string& source,
    const std::string& destinationFolder, const Ref<NSString>& destinationName, OptionBits options,
    FSPathFileOperationStatusProcPtr callback, NSTimeInterval statusChangeInterval,
    const FSFileOperationClientContext* context);

/// Reports on that run loop in that mode from now on; a report that was due is delivered there.
/// Answers 0, or −50 (paramErr) for nothing.
KESTOVA_PLATFORM_EXPORT OSStatus FSFileOperationScheduleWithRunLoop(
    const FSFileOperationRef& operation, const CFRunLoopRef& runLoop, const Ref<NSString>& mode);

/// Stops reporting there. Answers 0 also when it was not scheduled, −50 (paramErr) for nothing.
KESTOVA_PLATFORM_EXPORT OSStatus FSFileOperationUnscheduleFromRunLoop(
    const FSFileOperationRef& operation, const CFRunLoopRef& runLoop, const Ref<NSString>& mode);

/// What an operation would report now. Each out-parameter may be null; `status` is set to nothing
/// for an operation that was not started or has been cancelled, whose `error` is then −128
/// (userCanceledErr). Answers 0, or −50 (paramErr) for nothing.
KESTOVA_PLATFORM_EXPORT OSStatus FSFileOperationCopyStatus(const FSFileOperationRef& operation,
                                                           FSRef* currentItem,
                                                           FSFileOperationStage* stage,
                                                           OSStatus* error,
                                                           Ref<NSDictionary>* status);

/// Stops the work soon; what it has made under a temporary name is removed. No report follows on
/// the scheduled thread once this has returned there. Answers 0, or −50 (paramErr) for nothing.
KESTOVA_PLATFORM_EXPORT OSStatus FSFileOperationCancel(const FSFileOperationRef& operation);

/// The service behind the functions above, one per process. A test may put one of its own in its
/// place, for instance to let an operation fail that does not fail on a healthy machine.
class KESTOVA_PLATFORM_EXPORT FileOperationService {
 public:
  struct Request {
    std::string source;
    std::string destinationFolder;
    Ref<NSString> destinationName;
    OptionBits options = kFSFileOperationDefaultOptions;
    FSPathFileOperationStatusProcPtr callback = nullptr;
    NSTimeInterval statusChangeInterval = 0;
    const FSFileOperationClientContext* context = nullptr;
  };

  virtual ~FileOperationService() = default;

  virtual FSFileOperationRef create() = 0;
  virtual OSStatus copy(const FSFileOperationRef& operation, const Request& request) = 0;
  virtual OSStatus move(const FSFileOperationRef& operation, const Request& request) = 0;
  virtual OSStatus schedule(const FSFileOperationRef& operation, const CFRunLoopRef& runLoop,
                            const Ref<NSString>& mode) = 0;
  virtual OSStatus unschedule(const FSFileOperationRef& operation, const CFRunLoopRef& runLoop,
                              const Ref<NSString>& mode) = 0;
  virtual OSStatus copyStatus(const FSFileOperationRef& operation, FSRef* currentItem,
                              FSFileOperationStage* stage, OSStatus* error,
                              Ref<NSDictionary>* status) = 0;
  virtual OSStatus cancel(const FSFileOperationRef& operation) = 0;

  /// The service in use.
  static FileOperationService& shared();

  /// Puts a service in place and answers the one before; null puts the real one back. The caller
  /// keeps it alive. Not while operations run.
  static FileOperationService* setShared(FileOperationService* service);
};

}  // namespace kestova
