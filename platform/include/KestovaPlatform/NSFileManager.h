// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// \name Codes of NSCocoaErrorDomain that concern files
/// @{
enum : NSInteger {
  NSFileNoSuchFileError = 4,
  NSFileReadUnknownError = 256,
  NSFileReadNoPermissionError = 257,
  NSFileReadInvalidFileNameError = 258,
  NSFileReadNoSuchFileError = 260,
  NSFileReadTooLargeError = 263,
  NSFileWriteUnknownError = 512,
  NSFileWriteNoPermissionError = 513,
  NSFileWriteInvalidFileNameError = 514,
  NSFileWriteFileExistsError = 516,
  NSFileWriteOutOfSpaceError = 640,
  NSFileWriteVolumeReadOnlyError = 642,
};
/// @}

/// \name Keys of an item's attributes
/// @{
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileType;              ///< see below
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileSize;              ///< bytes
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileModificationDate;  ///< an NSDate
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFilePosixPermissions;  ///< the 12 mode bits
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileOwnerAccountID;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileGroupOwnerAccountID;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileReferenceCount;  ///< hard links
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileSystemNumber;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileSystemFileNumber;
/// @}

/// \name Values of NSFileType
/// @{
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileTypeRegular;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileTypeDirectory;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileTypeSymbolicLink;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileTypeSocket;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileTypeCharacterSpecial;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileTypeBlockSpecial;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileTypeUnknown;  ///< a FIFO, for one
/// @}

/// Everyday operations on files and folders by path.
///
///     auto files = NSFileManager::defaultManager();
///     Ref<NSError> error;
///     if (!files->createDirectoryAtPath_withIntermediateDirectories_attributes_error(
///             "/tmp/a/b", true, nullptr, &error)) { … }
///
/// Relative paths start at the working folder. Failures answer false or nothing and an error of
/// NSCocoaErrorDomain, with the path under NSFilePathErrorKey and the errno value as an error of
/// NSPOSIXErrorDomain under NSUnderlyingErrorKey. A null path throws NSInvalidArgumentException.
///
/// Threads: any number of threads may use one manager. All operations block.
class KESTOVA_PLATFORM_EXPORT NSFileManager : public NSObject {
  KESTOVA_CLASS(NSFileManager, NSObject)

 public:
  /// The process's manager.
  static Ref<NSFileManager> defaultManager();

  /// \name Questions
  /// Symbolic links are followed: a link to nothing does not exist. `isDirectory` may be null.
  /// @{
  bool fileExistsAtPath(const Ref<NSString>& path) const;
  bool fileExistsAtPath_isDirectory(const Ref<NSString>& path, bool* isDirectory) const;
  bool isReadableFileAtPath(const Ref<NSString>& path) const;
  bool isWritableFileAtPath(const Ref<NSString>& path) const;
  bool isExecutableFileAtPath(const Ref<NSString>& path) const;

  /// Whether the item may be removed from its folder: asked of the folder's permissions, sticky bit
  /// included; a folder's contents are not looked at.
  bool isDeletableFileAtPath(const Ref<NSString>& path) const;
  /// @}

  /// The attributes of the item itself, links not followed, under the keys above.
  Ref<NSDictionary> attributesOfItemAtPath_error(const Ref<NSString>& path,
                                                 Ref<NSError>* error = nullptr) const;

  /// The names in a folder, "." and ".." apart, in no order.
  Ref<NSArray> contentsOfDirectoryAtPath_error(const Ref<NSString>& path,
                                               Ref<NSError>* error = nullptr) const;

  /// Makes a folder. With intermediate folders, those that are missing above it are made as well and
  /// a folder that is there already is a success; without, it is an error, as anything that is no
  /// folder always is. Of the attributes (null for none) NSFilePosixPermissions is used.
  bool createDirectoryAtPath_withIntermediateDirectories_attributes_error(
      const Ref<NSString>& path, bool createIntermediates, const Ref<NSDictionary>& attributes,
      Ref<NSError>* error = nullptr) const;

  /// Removes an item, of a folder all that is in it. Links are removed, not followed. Stops at the
  /// first failure.
  bool removeItemAtPath_error(const Ref<NSString>& path, Ref<NSError>* error = nullptr) const;

  /// Renames an item within one volume. An existing destination is an error and stays.
  bool moveItemAtPath_toPath_error(const Ref<NSString>& from, const Ref<NSString>& to,
                                   Ref<NSError>* error = nullptr) const;

  /// Makes a link at `path` that says `destination`.
  bool createSymbolicLinkAtPath_withDestinationPath_error(const Ref<NSString>& path,
                                                          const Ref<NSString>& destination,
                                                          Ref<NSError>* error = nullptr) const;

  /// What a link says, as it says it.
  Ref<NSString> destinationOfSymbolicLinkAtPath_error(const Ref<NSString>& path,
                                                      Ref<NSError>* error = nullptr) const;

  /// The working folder; null when it is gone.
  Ref<NSString> currentDirectoryPath() const;

  /// False when the folder can't be entered.
  bool changeCurrentDirectoryPath(const Ref<NSString>& path) const;

 protected:
  NSFileManager() = default;
};

/// The folder for temporary files: TMPDIR, else "/tmp".
KESTOVA_PLATFORM_EXPORT Ref<NSString> NSTemporaryDirectory();

/// The user's home folder: HOME, else what the system knows; "/" when nobody knows.
KESTOVA_PLATFORM_EXPORT Ref<NSString> NSHomeDirectory();

}  // namespace kestova
