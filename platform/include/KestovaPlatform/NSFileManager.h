// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// \name Keys of a file's attributes
/// @{
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileType;  ///< one of the names below
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileSize;  ///< number of bytes
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileModificationDate;
/// Absent where the file system does not keep it.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileCreationDate;
/// A number: the permission bits as chmod takes them, 0 to 07777.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFilePosixPermissions;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileReferenceCount;    ///< number of links
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileSystemNumber;      ///< of the device
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileSystemFileNumber;  ///< on the device
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileOwnerAccountID;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileGroupOwnerAccountID;
/// @}

/// \name Values of NSFileType
/// @{
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileTypeDirectory;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileTypeRegular;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileTypeSymbolicLink;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileTypeSocket;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileTypeCharacterSpecial;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileTypeBlockSpecial;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSFileTypeUnknown;  ///< pipes as well
/// @}

/// Looks at and changes files and folders.
///
///     Ref<NSError> error;
///     const auto files = NSFileManager::defaultManager();
///     if (!files->removeItemAtPath_error("/tmp/old", &error)) {
///       std::cerr << error << '\n';
///     }
///
/// A relative path counts from the current folder. Names of any bytes are handled: see
/// `NSString::stringWithFileSystemRepresentation`. A null or empty path, and one that no file can
/// have, names nothing: questions are answered with no, operations fail as for a name that is not
/// allowed.
///
/// An operation that fails answers false or null and stores in `error`, where that is given, an
/// error in NSCocoaErrorDomain (codes in FoundationErrors.h) with the path under NSFilePathErrorKey
/// and what the system said under NSUnderlyingErrorKey. It is left alone on success.
///
/// Threads: any number of them may use one manager at a time. Everything blocks.
class KESTOVA_PLATFORM_EXPORT NSFileManager : public NSObject {
  KESTOVA_CLASS(NSFileManager, NSObject)

 public:
  /// The shared manager.
  static Ref<NSFileManager> defaultManager();
  static Ref<NSFileManager> init();

  /// \name Asking
  /// Symbolic links are followed. What is true now may no longer be true when it is acted upon.
  /// @{
  virtual bool fileExistsAtPath(const Ref<NSString>& path) const;

  /// Tells in `isDirectory` (may be null) whether it is a folder; false when there is nothing.
  virtual bool fileExistsAtPath_isDirectory(const Ref<NSString>& path, bool* isDirectory) const;

  /// Whether this process may read, write or execute it (of a folder: list, change, enter).
  virtual bool isReadableFileAtPath(const Ref<NSString>& path) const;
  virtual bool isWritableFileAtPath(const Ref<NSString>& path) const;
  virtual bool isExecutableFileAtPath(const Ref<NSString>& path) const;

  /// Whether this process may remove the item from its folder. What lies beneath a folder is not
  /// looked at. A symbolic link is not followed.
  virtual bool isDeletableFileAtPath(const Ref<NSString>& path) const;

  /// The names in a folder, without "." and "..", ordered by their bytes.
  virtual Ref<NSArray> contentsOfDirectoryAtPath_error(const Ref<NSString>& path,
                                                       Ref<NSError>* error = nullptr) const;

  /// What is known of an item, under the keys above. A symbolic link is not followed.
  virtual Ref<NSDictionary> attributesOfItemAtPath_error(const Ref<NSString>& path,
                                                         Ref<NSError>* error = nullptr) const;

  /// What a symbolic link says, which need not exist.
  virtual Ref<NSString> destinationOfSymbolicLinkAtPath_error(const Ref<NSString>& path,
                                                              Ref<NSError>* error = nullptr) const;

  /// The folder that relative paths count from; null when it is gone.
  virtual Ref<NSString> currentDirectoryPath() const;

  /// Makes it another one, for all threads; false when that can't be entered.
  virtual bool changeCurrentDirectoryPath(const Ref<NSString>& path) const;

  /// @}
  /// \name Changing
  /// @{

  /// Makes a folder. With `withIntermediateDirectories` those that lead to it are made, too, and a
  /// folder that is there already is a success; without, it is an error, as a file in the way
  /// always is. Of `attributes` (may be null) NSFilePosixPermissions is heeded, for every folder
  /// that is made; without it they get the mode that the process gives to new folders. After a
  /// failure the folders made so far remain.
  virtual bool createDirectoryAtPath_withIntermediateDirectories_attributes_error(
      const Ref<NSString>& path, bool withIntermediateDirectories,
      const Ref<NSDictionary>& attributes, Ref<NSError>* error = nullptr) const;

  /// Makes a symbolic link that says `destination`. What is at the path already is an error.
  virtual bool createSymbolicLinkAtPath_withDestinationPath_error(
      const Ref<NSString>& path, const Ref<NSString>& destination,
      Ref<NSError>* error = nullptr) const;

  /// Removes an item, a folder with all that is beneath it. Symbolic links are removed, not
  /// followed. After a failure what can be removed is gone.
  virtual bool removeItemAtPath_error(const Ref<NSString>& path,
                                      Ref<NSError>* error = nullptr) const;

  /// Moves or copies an item, with all that is beneath it, to a path at which there is nothing. The
  /// item appears there only when it is complete; a move to another volume copies, and removes the
  /// source last. After a failure the source is as it was and nothing is at the new path.
  virtual bool moveItemAtPath_toPath_error(const Ref<NSString>& path, const Ref<NSString>& toPath,
                                           Ref<NSError>* error = nullptr) const;
  virtual bool copyItemAtPath_toPath_error(const Ref<NSString>& path, const Ref<NSString>& toPath,
                                           Ref<NSError>* error = nullptr) const;
  /// @}

 protected:
  NSFileManager() = default;
};

/// The folder for temporary files, with a slash at the end: $TMPDIR where it is the absolute path
/// of one, else "/tmp/".
KESTOVA_PLATFORM_EXPORT Ref<NSString> NSTemporaryDirectory();

/// The person's folder: $HOME where it is an absolute path, else the one of the account; "/" for an
/// account without one.
KESTOVA_PLATFORM_EXPORT Ref<NSString> NSHomeDirectory();

}  // namespace kestova
