// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

#include <mutex>

namespace kestova {

/// A folder with what belongs together: above all the running program with what lies beside it, and
/// the identifier by which it is known: the name of its preferences and the domain of its own
/// errors.
///
///     int main() {
///       NSBundle::declareMainBundleIdentifier("org.example.Editor");
///       …
///       NSBundle::mainBundle()->bundleIdentifier();   // "org.example.Editor"
///     }
///
/// A file `Info.plist` in the folder, a property list with a dictionary at the top, tells more
/// about the bundle. It is read once. One that can't be read is logged and counts as missing.
///
/// Resources are files for the current locale under `de_CH.lproj` or `de.lproj` in the folder, for
/// all others in the folder itself. Texts for people are such files: property lists `NAME.strings`,
/// each a dictionary of strings.
///
/// Threads: any number at a time. Nothing here answers null but what says so.
class KESTOVA_PLATFORM_EXPORT NSBundle : public NSObject {
  KESTOVA_CLASS(NSBundle, NSObject)

 public:
  /// The running program's, the same object every time. The first call reads `Info.plist` and
  /// blocks meanwhile.
  static Ref<NSBundle> mainBundle();

  /// The bundle of a folder; null for null and where there is no folder. The first call for one
  /// reads `Info.plist` and blocks meanwhile; every call makes another object.
  static Ref<NSBundle> bundleWithPath(const Ref<NSString>& path);

  /// Says what the program's identifier is, before anything asks for it. Null or empty takes that
  /// back.
  static void declareMainBundleIdentifier(const Ref<NSString>& identifier);

  /// What the program declared for its own; else the text under "CFBundleIdentifier" in
  /// `Info.plist`; else "kestova." and the name of the program's file, of the folder where there is
  /// no program, in which everything but ASCII letters, digits, "-" and "." is a "-". It changes by
  /// a declaration only.
  Ref<NSString> bundleIdentifier() const;

  /// The folder; for the running program the one that it lies in.
  const Ref<NSString>& bundlePath() const noexcept { return path_; }

  /// The program's file, symbolic links resolved; null for the bundle of a folder.
  const Ref<NSString>& executablePath() const noexcept { return executablePath_; }

  /// The contents of `Info.plist`; empty when it is missing.
  const Ref<NSDictionary>& infoDictionary() const noexcept { return infoDictionary_; }

  /// The entry of `infoDictionary` under the key; null where there is none, and for null.
  id objectForInfoDictionaryKey(const Ref<NSString>& key) const;

  /// The path of a resource, of the current locale's where there is one; null when there is none,
  /// and for a null or empty name. With a `type` the file's name ends in "." and it; null and ""
  /// are none. Asks the file system.
  Ref<NSString> pathForResource_ofType(const Ref<NSString>& name, const Ref<NSString>& type) const;

  /// The text under the key in the file `table`, "Localizable" for null or an empty name; where
  /// there is none, `value`, or the key itself when that is null or empty. A null key answers
  /// `value`, or the empty text. Reads files, and blocks meanwhile.
  Ref<NSString> localizedStringForKey_value_table(const Ref<NSString>& key,
                                                  const Ref<NSString>& value,
                                                  const Ref<NSString>& table) const;

 protected:
  /// What belongs to the program file at that path, which need not exist.
  explicit NSBundle(const Ref<NSString>& executablePath);

  /// The same for a folder without a program, or with one that may be null.
  NSBundle(Ref<NSString> path, Ref<NSString> executablePath);

 private:
  const Ref<NSString> path_;
  const Ref<NSString> executablePath_;
  const Ref<NSDictionary> infoDictionary_;
  mutable std::mutex mutex_;
  Ref<NSString> declaredIdentifier_;  // under the mutex; never empty
};

}  // namespace kestova
