// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSURL.h>

namespace kestova {

/// The volume that holds the item of a file URL, or that would hold it: the path's nearest ancestor
/// that there is decides.
///
///     const auto url = NSURL::fileURLWithPath("/media/stick/new/report.pdf");
///     ov_volumeName(url);     // "Holiday"
///     ov_volumeRootURL(url);  // file:///media/stick/
///
/// Both ask the file system each time, and block. A URL that is none of a file throws
/// NSInvalidArgumentException. What a volume is and is called: see `NSURLVolumeNameKey`.
///
/// Threads: any number at a time.
inline namespace NSURL_KestovaAdditions {

/// The name of the volume.
///
/// Only a missing item leads on to the folder above it. After any other failure, such as a folder
/// that may not be entered, the same path is asked again until it answers, for ever if need be, in
/// pauses of up to a tenth of a second: a caller who can't wait asks
/// `getResourceValue_forKey_error` first.
///
/// A path that runs out, as only a relative one can, is looked at for its form: below "Volumes" the
/// second component is the name. For any other one the volume of "/" is asked for, deliberately
/// with its answer turned round: when it has a name, NSInternalInconsistencyException tells that
/// there is none, with the error of the last failed question; when it has none, null is the answer.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> ov_volumeName(const Ref<NSURL>& self);

/// The URL of the folder at the top of the volume; null when the path runs out, as a relative one
/// can. The path is followed upward as it is written: behind a symbolic link within it the volume
/// of the link counts.
KESTOVA_FOUNDATION_EXPORT Ref<NSURL> ov_volumeRootURL(const Ref<NSURL>& self);

}  // namespace NSURL_KestovaAdditions

}  // namespace kestova
