// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// Interface files (see NSNib.h) loaded in one step, with the objects at their top.
///
///     const auto objects = loadWithTopLevelObjectsNibNamed_owner("Preferences", controller);
///
/// `owner` may be null. A file that is missing or wrong, and a null name or path, answer false or
/// null: then nothing was made, the owner is as it was, and `topLevelObjects` is left alone. What
/// was wrong is told by `NSNib` alone.
///
/// Ownership differs between the two forms, deliberately: where the answer is a truth value, each
/// top-level object has one count more than those of the array and of whoever else refers to it,
/// which is the caller's to give back by `release`. Where the answer is an array, that one is their
/// only owner.
///
/// Threads: any number at a time, as far as the objects' own setters allow. All of these read files
/// and block.
inline namespace NSBundle_NSBundleKestovaAdditions {

/// \name With a truth value; each top-level object has a count for the caller
/// `topLevelObjects` may be null, and the counts are the caller's all the same.
/// @{

/// Loads the file of that name among the bundle's resources.
KESTOVA_FOUNDATION_EXPORT bool ov_loadNibNamed_owner_topLevelObjects(
    const Ref<NSBundle>& self, const Ref<NSString>& name, const id& owner,
    Ref<NSArray>* topLevelObjects = nullptr);

/// The same in the main bundle.
KESTOVA_FOUNDATION_EXPORT bool loadNibNamed_owner_topLevelObjects(
    const Ref<NSString>& name, const id& owner, Ref<NSArray>* topLevelObjects = nullptr);

/// The same for the path of a file.
KESTOVA_FOUNDATION_EXPORT bool loadNibFile_owner_topLevelObjects(
    const Ref<NSString>& path, const id& owner, Ref<NSArray>* topLevelObjects = nullptr);

/// @}
/// \name With the array that owns the top-level objects
/// @{

/// From the main bundle.
KESTOVA_FOUNDATION_EXPORT Ref<NSArray> loadWithTopLevelObjectsNibNamed_owner(
    const Ref<NSString>& name, const id& owner);

/// From a file by its path.
KESTOVA_FOUNDATION_EXPORT Ref<NSArray> loadWithTopLevelObjectsNibFile_owner(
    const Ref<NSString>& path, const id& owner);

/// From a bundle, the main one for null.
KESTOVA_FOUNDATION_EXPORT Ref<NSArray> loadWithTopLevelObjectsNibNamed_bundle_owner(
    const Ref<NSString>& name, const Ref<NSBundle>& bundle, const id& owner);

/// @}

}  // namespace NSBundle_NSBundleKestovaAdditions

}  // namespace kestova
