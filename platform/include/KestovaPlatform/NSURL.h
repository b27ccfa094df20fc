// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

#include <memory>
#include <string>

namespace kestova {

class NSError;
struct URLParts;

/// \name Keys of what the file system knows of a URL's item
/// A symbolic link at the end of the path is the item itself. Truth values are NSNumbers.
/// @{
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSURLNameKey;  ///< the last path component
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSURLIsDirectoryKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSURLIsRegularFileKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSURLIsSymbolicLinkKey;
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSURLFileSizeKey;  ///< bytes of a regular file

/// The name of the volume that holds the item: its label; without one the name of the folder that
/// it is mounted on. The volume of "/" has the name of the system ("Debian GNU/Linux 12
/// (bookworm)"), or else the computer's.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSURLVolumeNameKey;

/// Whether the item is the folder at the top of a volume: one that something is mounted on, or "/".
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSURLIsVolumeKey;

/// The URL of that folder of the volume that holds the item.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSURLVolumeURLKey;
/// @}

/// A uniform resource locator as RFC 3986 defines it, absolute or relative to a base.
///
///     Ref<NSURL> page = NSURL::URLWithString("https://example.org/a%20b?q=1#top");
///     page->path();                                         // "/a b"
///     Ref<NSURL> file = NSURL::fileURLWithPath("/tmp/größe");
///     file->absoluteString();                               // "file:///tmp/gr%C3%B6%C3%9Fe"
///
/// Every file name has a URL and comes back from it unchanged, also one that is no UTF-8: see
/// `NSString::stringWithFileSystemRepresentation`. Accessors that answer null do so where the URL
/// has no such part. Those of a path answer it with its escapes decoded; the others as it is
/// written, but for `host`.
///
/// Threads: immutable, so any number of threads may read one URL at a time.
class KESTOVA_PLATFORM_EXPORT NSURL : public NSObject {
  KESTOVA_CLASS(NSURL, NSObject)

 public:
  /// \name Making
  /// @{

  /// The URL of a file. A relative path counts from the current folder. A URL of a folder ends in a
  /// slash: it does when the path does, or when there is a folder now. Null for null, for "" and
  /// for a path that no file can have. May ask the file system.
  static Ref<NSURL> fileURLWithPath(const Ref<NSString>& path);

  /// The same without asking whether there is a folder.
  static Ref<NSURL> fileURLWithPath_isDirectory(const Ref<NSString>& path, bool isDirectory);

  /// The URL that the string spells; null for null, for what RFC 3986 does not allow (blanks,
  /// letters outside ASCII, escapes without two hex digits…) and for a port above 65535.
  static Ref<NSURL> URLWithString(const Ref<NSString>& string);

  /// The same, to be read relative to a base, which may be null.
  static Ref<NSURL> URLWithString_relativeToURL(const Ref<NSString>& string,
                                                const Ref<NSURL>& base);

  /// @}
  /// \name The whole
  /// @{

  /// The URL with its base taken in, by the rules of RFC 3986 section 5.2.
  Ref<NSString> absoluteString() const;

  /// The URL as it was given, without its base.
  Ref<NSString> relativeString() const;

  /// The base; null when it has none.
  const Ref<NSURL>& baseURL() const noexcept { return base_; }

  /// An equal resource without a base: itself when it has none.
  Ref<NSURL> absoluteURL() const;

  /// Whether the scheme is "file", in any case.
  bool isFileURL() const;

  /// @}
  /// \name Parts, of the URL with its base taken in
  /// @{
  Ref<NSString> scheme() const;

  /// Decoded, and without the brackets of an IPv6 address; null also for an empty one.
  Ref<NSString> host() const;
  Ref<NSNumber> port() const;
  Ref<NSString> user() const;
  Ref<NSString> password() const;
  Ref<NSString> query() const;
  Ref<NSString> fragment() const;

  /// Decoded, without a slash at the end, except that the root stays "/". Never null.
  Ref<NSString> path() const;

  /// The same of the URL without its base.
  Ref<NSString> relativePath() const;

  /// Of `path`, as NSString has them.
  Ref<NSString> lastPathComponent() const;
  Ref<NSString> pathExtension() const;
  Ref<NSArray> pathComponents() const;

  /// The bytes by which the file system knows the path. Throws NSInvalidArgumentException for a
  /// path that no file can have.
  std::string fileSystemRepresentation() const;

  /// Whether the path ends in a slash, as that of a folder does.
  bool hasDirectoryPath() const;

  /// @}
  /// \name Other URLs made from this one
  /// Query, fragment and base are kept.
  /// @{

  /// The path with a slash and the component added. The new URL ends in a slash when the component
  /// does, or when this is a file URL and there is such a folder now. Null throws
  /// NSInvalidArgumentException.
  Ref<NSURL> URLByAppendingPathComponent(const Ref<NSString>& component) const;

  /// The same without asking whether there is a folder.
  Ref<NSURL> URLByAppendingPathComponent_isDirectory(const Ref<NSString>& component,
                                                     bool isDirectory) const;

  /// The path without its last component, ending in a slash: the folder that holds it. The root
  /// stays "/" and an empty path empty; of a name alone "./" remains.
  Ref<NSURL> URLByDeletingLastPathComponent() const;

  /// @}

  /// \name The item of a file URL
  /// @{

  /// Asks the file system for what a key above names, and stores it in `value`: null for what such
  /// an item has none of, and for an unknown key. Answers false, leaves `value` and sets `error` in
  /// NSCocoaErrorDomain when it can't: NSFileNoSuchFileError when the path leads to no item,
  /// NSFileReadNoPermissionError when a folder on the way can't be entered,
  /// NSFileReadUnsupportedSchemeError for what is no file URL, NSFileReadUnknownError otherwise.
  /// Both out-parameters may be null; a null key throws NSInvalidArgumentException.
  ///
  /// Nothing is kept: every call asks anew, and blocks for as long as the item's own file system
  /// takes. Others that are mounted are not asked. The path may have any length.
  bool getResourceValue_forKey_error(id* value, const Ref<NSString>& key,
                                     Ref<NSError>* error = nullptr) const;

  /// @}

  /// Whether both have the same relative string and equal bases.
  bool isEqual(const id& other) const override;
  NSUInteger hash() const override;

  /// The absolute string, or "relative -- base".
  Ref<NSString> description() const override;

  /// This URL itself.
  id copy() const override;

 protected:
  NSURL(URLParts parts, Ref<NSURL> base);
  ~NSURL() override;

 private:
  /// A URL of the given parts with a path of its own; its base is this URL's.
  Ref<NSURL> withPath(std::string encodedPath) const;

  /// The parts as given and, where there is a base, with it taken in.
  const std::unique_ptr<const URLParts> relative_;
  const std::unique_ptr<const URLParts> resolved_;
  const Ref<NSURL> base_;

  const URLParts& parts() const noexcept { return resolved_ ? *resolved_ : *relative_; }
};

}  // namespace kestova
