// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

#include <mutex>

namespace kestova {

/// The running program with what lies beside it, and the identifier by which it is known: the name
/// of its preferences and the domain of its own errors.
///
///     int main() {
///       NSBundle::declareMainBundleIdentifier("org.example.Editor");
///       …
///       NSBundle::mainBundle()->bundleIdentifier();   // "org.example.Editor"
///     }
///
/// A file `Info.plist` in the program's folder, a property list with a dictionary at the top, tells
/// more about the program. It is read once. One that can't be read is logged and counts as missing.
///
/// Texts for people stand in property lists `NAME.strings`, each a dictionary of strings: for the
/// current locale in the program's folder under `de_CH.lproj` or `de.lproj`, for all others beside
/// the program.
///
/// Threads: any number at a time. Nothing here answers null but `objectForInfoDictionaryKey`.
class KESTOVA_PLATFORM_EXPORT NSBundle : public NSObject {
  KESTOVA_CLASS(NSBundle, NSObject)

 public:
  /// The running program's, the same object every time. The first call reads `Info.plist` and
  /// blocks meanwhile.
  static Ref<NSBundle> mainBundle();

  /// Says what the program's identifier is, before anything asks for it. Null or empty takes that
  /// back.
  static void declareMainBundleIdentifier(const Ref<NSString>& identifier);

  /// What the program declared; else the text under "CFBundleIdentifier" in `Info.plist`; else
  /// "kestova." and the program's file name, in which everything but ASCII letters, digits, "-" and
  /// "." is a "-". It changes by a declaration only.
  Ref<NSString> bundleIdentifier() const;

  /// The folder that the program lies in.
  Ref<NSString> bundlePath() const;

  /// The program's file, symbolic links resolved.
  const Ref<NSString>& executablePath() const noexcept { return executablePath_; }

  /// The contents of `Info.plist`; empty when it is missing.
  const Ref<NSDictionary>& infoDictionary() const noexcept { return infoDictionary_; }

  /// The entry of `infoDictionary` under the key; null where there is none, and for null.
  id objectForInfoDictionaryKey(const Ref<NSString>& key) const;

  /// The text under the key in the file `table`, "Localizable" for null or an empty name; where
  /// there is none, `value`, or the key itself when that is null or empty. A null key answers
  /// `value`, or the empty text. Reads files, and blocks meanwhile.
  Ref<NSString> localizedStringForKey_value_table(const Ref<NSString>& key,
                                                  const Ref<NSString>& value,
                                                  const Ref<NSString>& table) const;

 protected:
  /// What belongs to the program file at that path, which need not exist.
  explicit NSBundle(Ref<NSString> executablePath);

 private:
  const Ref<NSString> executablePath_;
  const Ref<NSDictionary> infoDictionary_;
  mutable std::mutex mutex_;
  Ref<NSString> declaredIdentifier_;  // under the mutex; never empty
};

}  // namespace kestova
