// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>

#include <array>
#include <cstddef>
#include <memory>
#include <span>

namespace kestova {

/// The MD5 digest (RFC 1321) of bytes that may come in pieces.
///
///     MD5Digest digest;
///     digest.update(piece);
///     const std::array<std::byte, 16> sum = digest.finish();
///
/// MD5 tells files and versions apart; it protects nothing against somebody who wants two texts to
/// have the same sum. It works on machines, too, whose cryptography is limited to approved
/// algorithms.
///
/// Threads: one at a time for each digest.
///
/// Without any piece it is the digest of no bytes.
class KESTOVA_PLATFORM_EXPORT MD5Digest {
 public:
  using Sum = std::array<std::byte, 16>;

  MD5Digest();
  ~MD5Digest();
  MD5Digest(const MD5Digest&) = delete;
  MD5Digest& operator=(const MD5Digest&) = delete;

  void update(std::span<const std::byte> bytes);

  /// The digest of all pieces. After it the digest begins anew.
  Sum finish();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace kestova
