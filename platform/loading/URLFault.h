// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSURL.h>
#include <KestovaPlatform/NSURLError.h>

#include <string>

namespace kestova {

/// Why something can't be loaded. Thrown within the loader only: NSURLConnection makes an error of
/// it.
struct URLFault {
  /// One of the codes of NSURLError.h.
  NSInteger code;
  /// What more is known, in UTF-8; may be empty.
  std::string reason;
  /// The system's error number behind it; 0 for none.
  int systemError = 0;
};

/// The error for a fault in loading a URL, which may be null.
Ref<NSError> errorForFault(const URLFault& fault, const Ref<NSURL>& url);

}  // namespace kestova
