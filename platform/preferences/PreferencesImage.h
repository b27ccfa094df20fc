// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSTypes.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kestova {

/// The bytes of a domain's file, kept from one writing to the next: a few new values are put in
/// place of the old ones, so that what a change costs hardly depends on all that stays.
///
/// There is nothing in them that the domain doesn't hold; but equal values that were put in may be
/// there once for each of their keys.
///
/// Threads: one at a time.
class PreferencesImage {
 public:
  /// The bytes of `contents`, in which nothing but what is under the changed keys is new since the
  /// last call; they may come or go as well. Valid until the next call. Throws a PropertyListFault.
  std::span<const std::byte> bytesOf(const Ref<NSDictionary>& contents,
                                     std::span<const id> changedKeys);

  /// The next contents may be any others.
  void forget() noexcept { bytes_.clear(); }

 private:
  using Bytes = std::span<const std::byte>;

  void keep(Bytes whole);
  void countUses();

  bool putAll(const NSDictionary& contents, std::span<const id> changedKeys);
  bool put(const id& key, const id& value);
  bool replace(std::size_t number, Bytes leaf);
  bool append(std::size_t reference, Bytes leaf);

  Bytes objects() const noexcept { return Bytes(bytes_).first(offsetTable_); }
  std::size_t referenceAt(std::size_t index) const noexcept;
  std::size_t indexOf(Bytes key) const noexcept;
  std::size_t placeOf(std::size_t number) const noexcept;
  std::size_t endOf(std::size_t number) const noexcept;
  std::uint64_t unsignedAt(std::size_t place, std::size_t size) const noexcept;
  void setUnsigned(std::size_t place, std::uint64_t value, std::size_t size) noexcept;
  void setBytes(std::size_t place, std::size_t size, Bytes to);
  void setOffsetTable(std::size_t place) noexcept;

  /// Empty where nothing is known.
  std::vector<std::byte> bytes_;

  /// \name What the bytes say of themselves
  /// Objects stand in the order of their numbers, one right behind the other.
  /// @{
  std::size_t offsetSize_ = 0;
  std::size_t referenceSize_ = 0;
  std::size_t count_ = 0;
  std::size_t offsetTable_ = 0;
  /// Of the dictionary at the top, where its references begin: to all keys, then to their values.
  std::size_t references_ = 0;
  std::size_t keys_ = 0;
  /// How often each object is referred to; empty until a value is put in.
  std::vector<std::uint32_t> uses_;
  /// @}
};

}  // namespace kestova
