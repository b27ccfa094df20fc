// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSBundleAdditions.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSNib.h>
#include <KestovaPlatform/NSURL.h>

namespace kestova {

inline namespace NSBundle_NSBundleKestovaAdditions {

namespace {

Ref<NSNib> nibAt(const Ref<NSString>& path) {
  return NSNib::initWithContentsOfURL(NSURL::fileURLWithPath(path));
}

bool instantiate(const Ref<NSNib>& nib, const id& owner, Ref<NSArray>* topLevelObjects) {
  return nib && nib->instantiateWithOwner_topLevelObjects(owner, topLevelObjects);
}

/// The objects, without the counts that instantiating them gives the caller.
Ref<NSArray> objectsOf(const Ref<NSNib>& nib, const id& owner) {
  Ref<NSArray> objects;
  if (!instantiate(nib, owner, &objects)) {
    return nullptr;
  }
  for (const id& object : objects) {
    object->release();
  }
  return objects;
}

}  // namespace

bool ov_loadNibNamed_owner_topLevelObjects(const Ref<NSBundle>& self, const Ref<NSString>& name,
                                           const id& owner, Ref<NSArray>* topLevelObjects) {
  require(self != nullptr, "self != nil");
  return instantiate(NSNib::initWithNibNamed_bundle(name, self), owner, topLevelObjects);
}

bool loadNibNamed_owner_topLevelObjects(const Ref<NSString>& name, const id& owner,
                                        Ref<NSArray>* topLevelObjects) {
  return instantiate(NSNib::initWithNibNamed_bundle(name, nullptr), owner, topLevelObjects);
}

bool loadNibFile_owner_topLevelObjects(const Ref<NSString>& path, const id& owner,
                                       Ref<NSArray>* topLevelObjects) {
  return instantiate(nibAt(path), owner, topLevelObjects);
}

Ref<NSArray> loadWithTopLevelObjectsNibNamed_owner(const Ref<NSString>& name, const id& owner) {
  return loadWithTopLevelObjectsNibNamed_bundle_owner(name, nullptr, owner);
}

Ref<NSArray> loadWithTopLevelObjectsNibFile_owner(const Ref<NSString>& path, const id& owner) {
  return objectsOf(nibAt(path), owner);
}

Ref<NSArray> loadWithTopLevelObjectsNibNamed_bundle_owner(const Ref<NSString>& name,
                                                          const Ref<NSBundle>& bundle,
                                                          const id& owner) {
  return objectsOf(NSNib::initWithNibNamed_bundle(name, bundle), owner);
}

}  // namespace NSBundle_NSBundleKestovaAdditions

}  // namespace kestova
