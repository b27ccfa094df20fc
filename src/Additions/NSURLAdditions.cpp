// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSURLAdditions.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSException.h>

#include <algorithm>
#include <chrono>
#include <thread>

namespace kestova {

inline namespace NSURL_KestovaAdditions {

namespace {

void checkIsFile(const Ref<NSURL>& url) {
  require(url != nullptr, "self != nil");
  if (!url->isFileURL()) {
    throw NSException(NSInvalidArgumentException,
                      NSString::stringWithFormat("The url is not a file URL. %@", url));
  }
}

/// Whether nothing is at the path. A path that no file can have has no URL, and is one of these.
bool isMissing(const Ref<NSURL>& url, const Ref<NSError>& error) {
  return !url ||
         (error->domain()->isEqual(NSCocoaErrorDomain) && error->code() == NSFileNoSuchFileError);
}

/// The path without its last component; empty when it has no other, as the root has none.
Ref<NSString> above(const Ref<NSString>& path) {
  const auto shorter = path->stringByDeletingLastPathComponent();
  return shorter->isEqual(path) ? NSString::string() : shorter;
}

Ref<NSString> nameOfVolumeAt(const Ref<NSURL>& url, Ref<NSError>& error) {
  id name;
  return url && url->getResourceValue_forKey_error(&name, NSURLVolumeNameKey, &error)
             ? cast<NSString>(name)
             : nullptr;
}

/// Waits before the same question is asked once more, ever longer up to a bound.
class RetryPause {
 public:
  void wait() {
    std::this_thread::sleep_for(next_);
    next_ = std::min(2 * next_, kLongest);
  }

 private:
  static constexpr std::chrono::milliseconds kLongest{100};

  std::chrono::milliseconds next_{1};
};

/// The name that the volume of the path, or of the nearest folder above, answers with; null when
/// the path runs out, and the last error.
Ref<NSString> nameByAsking(Ref<NSString> path, Ref<NSError>& error) {
  RetryPause pause;
  while (path->length() > 0) {
    const auto url = NSURL::fileURLWithPath_isDirectory(path, false);
    if (const auto name = nameOfVolumeAt(url, error)) {
      return name;
    }
    if (isMissing(url, error)) {
      path = above(path);
    } else {
      pause.wait();
    }
  }
  return nullptr;
}

/// What stands behind "Volumes" at the front of a path; null when it begins otherwise.
Ref<NSString> nameByForm(const NSURL& url) {
  const auto components = url.pathComponents();
  return components->count() >= 2 && components->objectAtIndex(0)->isEqual("Volumes")
             ? cast<NSString>(components->objectAtIndex(1))
             : nullptr;
}

bool isVolume(const Ref<NSURL>& url) {
  id answer;
  return url && url->getResourceValue_forKey_error(&answer, NSURLIsVolumeKey) &&
         cast<NSNumber>(answer)->boolValue();
}

}  // namespace

Ref<NSString> ov_volumeName(const Ref<NSURL>& self) {
  checkIsFile(self);
  Ref<NSError> lastError;
  auto name = nameByAsking(self->path(), lastError);
  name = name ? name : nameByForm(*self);
  Ref<NSError> ignored;
  if (!name && nameOfVolumeAt(NSURL::fileURLWithPath_isDirectory("/", true), ignored)) {
    throw NSException(
        NSInternalInconsistencyException,
        NSString::stringWithFormat("Cannot get the name of the startup volume. %@", lastError));
  }
  return name;
}

Ref<NSURL> ov_volumeRootURL(const Ref<NSURL>& self) {
  checkIsFile(self);
  for (auto path = self->path(); path->length() > 0; path = above(path)) {
    const auto url = NSURL::fileURLWithPath_isDirectory(path, true);
    if (isVolume(url)) {
      return url;
    }
  }
  return nullptr;
}

}  // namespace NSURL_KestovaAdditions

}  // namespace kestova
