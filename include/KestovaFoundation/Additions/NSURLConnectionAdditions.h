// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/NSURLConnection.h>

namespace kestova {

/// Loading with a block that takes what came.
///
///     sendAsynchronousRequest_completionBlock(
///         NSURLRequest::requestWithURL(url),
///         [=](const Ref<NSData>& data, const Ref<NSURLResponse>&, const Ref<NSError>& error) {
///           performBlockOnMainThread([=] { data ? show(data) : explain(error); }, false);
///         });
///
/// The block gets what NSURLConnection.h tells: data and response, or else null for both and the
/// error. It is called exactly once, with no lock held, and may load more.
///
/// Threads: any.
inline namespace NSURLConnection_KestovaAdditions {

/// Called with data, response and error.
using NSURLConnectionCompletion = Block<void(
    const Ref<NSData>& data, const Ref<NSURLResponse>& response, const Ref<NSError>& error)>;

/// Loads, blocking the calling thread, and then calls the block on it. An empty block is a broken
/// contract.
KESTOVA_FOUNDATION_EXPORT void sendSynchronousRequest_completionBlock(
    const Ref<NSURLRequest>& request, const NSURLConnectionCompletion& completion);

/// Does the same on the global queue of default priority and returns at once. The block is called
/// there and not on the main thread; what it throws ends the process. The request is copied: it may
/// be changed afterwards.
KESTOVA_FOUNDATION_EXPORT void sendAsynchronousRequest_completionBlock(
    const Ref<NSURLRequest>& request, const NSURLConnectionCompletion& completion);

}  // namespace NSURLConnection_KestovaAdditions

}  // namespace kestova
