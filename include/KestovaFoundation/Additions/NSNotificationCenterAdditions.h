// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNotificationCenter.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// Posting where the observers live: on the main thread.
inline namespace NSNotificationCenter_KestovaAdditions {

/// Posts through the centre on the main thread, and returns when that has finished; from the main
/// thread itself it posts at once. Each argument may be null, and takes those behind it along: with
/// a null object the user info is dropped as well, with a null name all of them.
///
/// The calling thread waits: for ever where the main thread waits for it, or never runs its run
/// loop (see NSThread.h and MainThreadPerformer.h). From any thread.
KESTOVA_FOUNDATION_EXPORT void postNotificationOnMainThreadName_object_userInfo(
    const Ref<NSNotificationCenter>& self, const Ref<NSString>& name, const id& object,
    const Ref<NSDictionary>& userInfo);

/// What of it runs on the main thread: posts with what is in the dictionary under "name", "object"
/// and "userInfo", null for what is not.
KESTOVA_FOUNDATION_EXPORT void _threadedPostNotificationOnMainThreadName_object_userInfo(
    const Ref<NSNotificationCenter>& self, const Ref<NSDictionary>& arguments);

}  // namespace NSNotificationCenter_KestovaAdditions

}  // namespace kestova
