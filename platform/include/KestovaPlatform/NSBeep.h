// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>

namespace kestova {

/// The sound that calls a person's attention to a failure. The platform's own rings the bell of the
/// terminal that controls the process, and is silent where there is none; a desktop application
/// puts its toolkit's in place.
///
/// Threads: `play` is called from any thread.
class KESTOVA_PLATFORM_EXPORT AlertSound {
 public:
  AlertSound() = default;
  virtual ~AlertSound() = default;
  AlertSound(const AlertSound&) = delete;
  AlertSound& operator=(const AlertSound&) = delete;

  /// Begins the sound and does not wait for its end. It must not throw.
  virtual void play() = 0;

  /// The sound in use; the terminal's bell unless another one was set.
  static AlertSound& current();

  /// Puts another sound in use, unowned: it must stay until it is no longer in use. Null puts the
  /// terminal's bell back.
  static void setCurrent(AlertSound* sound);
};

/// Plays the alert sound. May be called from any thread.
KESTOVA_PLATFORM_EXPORT void NSBeep();

}  // namespace kestova
