// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSURL.h>

#include <memory>

namespace kestova {

struct InterfaceFile;

/// An interface file: a property list of objects, their values by key, and their connections with
/// each other and with an owner, from which the objects are made as often as they are wanted. How
/// it is written stands in `docs/formats/interface-file.md`.
///
///     const auto nib = NSNib::initWithNibNamed_bundle("Preferences", nullptr, &error);
///     Ref<NSArray> objects;
///     if (!nib || !nib->instantiateWithOwner_topLevelObjects(controller, &objects, &error)) {
///       std::cerr << error->localizedDescription() << '\n';
///     }
///
/// What fails does so as a whole, with NSFileReadCorruptFileError in NSCocoaErrorDomain for what is
/// wrong in the file and a description that names the fault and its place (`objects[3]: …`). A file
/// may have 64 MiB, 4096 objects and 65536 connections.
///
/// Threads: any number may read one at a time; instantiating runs the objects' own setters, on this
/// thread.
///
/// Ownership: every top-level object is handed over with one count more than the array's, which the
/// caller gives back by `release` when the object has served.
///
/// Cost: the file is read and checked once; instantiating grows with what it describes.
class KESTOVA_PLATFORM_EXPORT NSNib : public NSObject {
  KESTOVA_CLASS(NSNib, NSObject)

 public:
  /// The file of that name, with or without ".nib", among the resources of a bundle, the main one
  /// for null. Null, with the error, when it is missing (NSFileReadNoSuchFileError), can't be read
  /// or is none. Blocks meanwhile.
  static Ref<NSNib> initWithNibNamed_bundle(const Ref<NSString>& name, const Ref<NSBundle>& bundle,
                                            Ref<NSError>* error = nullptr);

  /// The same for a file URL.
  static Ref<NSNib> initWithContentsOfURL(const Ref<NSURL>& url, Ref<NSError>* error = nullptr);

  /// The same for what such a file holds.
  static Ref<NSNib> initWithNibData(const Ref<NSData>& data, Ref<NSError>* error = nullptr);

  /// Makes the objects, gives them their values and connects them, all in the order of the file.
  /// `owner` may be null; connections with it are then left out. `topLevelObjects` gets the objects
  /// that the file doesn't call others' own; each has a count for the caller, also when the
  /// location is null. False when a class isn't described or can't be made without arguments, a key
  /// is unknown or doesn't take the value, or an object refuses it by an NSException: then no
  /// object is left, the owner has its old values, and `topLevelObjects` is left alone.
  bool instantiateWithOwner_topLevelObjects(const id& owner, Ref<NSArray>* topLevelObjects,
                                            Ref<NSError>* error = nullptr) const;

 protected:
  /// `path` is what errors name; null for none.
  NSNib(std::unique_ptr<const InterfaceFile> file, Ref<NSString> path);
  ~NSNib() override;

 private:
  static Ref<NSNib> read(const Ref<NSData>& data, const Ref<NSString>& path, Ref<NSError>* error);

  const std::unique_ptr<const InterfaceFile> file_;
  const Ref<NSString> path_;
};

}  // namespace kestova
