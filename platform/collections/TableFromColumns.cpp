// SPDX-License-Identifier: Apache-2.0
#include "collections/TableFromColumns.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <stdexcept>
#include <type_traits>

namespace kestova {
namespace {

/// How full a table may be. Its buckets are looked for all over it: half the memory costs less than
/// what lies close together.
constexpr float kFullest = 0.85F;

/// A key's bucket may be anywhere: it is asked for this many keys before it is needed.
constexpr std::size_t kAhead = 12;

/// As the table keeps it: the place of an entry, and the lower half of its key's hash.
struct Bucket {
  std::uint32_t place = std::numeric_limits<std::uint32_t>::max();
  std::uint32_t hash = 0;

  bool isEmpty() const noexcept { return place == Bucket().place; }
};

/// The buckets of a table, filled as the table itself does it: an entry lies behind its own bucket
/// by no more than those that it had to leave lie behind theirs.
class Buckets {
 public:
  explicit Buckets(std::size_t entries)
      : buckets_(
            std::bit_ceil(static_cast<std::size_t>(static_cast<double>(entries) / kFullest) + 1)),
        mask_(buckets_.size() - 1) {}

  void ask(std::uint32_t hash) const noexcept { __builtin_prefetch(&buckets_[hash & mask_], 1); }

  /// Gives an entry a bucket; answers its place, or that of the one for which `isEqual` holds.
  template <class IsEqual>
  std::size_t put(Bucket entry, IsEqual&& isEqual) {
    std::size_t at = entry.hash & mask_;
    for (std::size_t away = 0; !buckets_[at].isEmpty() && away <= awayFromOwn(at); ++away) {
      if (buckets_[at].hash == entry.hash && isEqual(buckets_[at].place)) {
        return buckets_[at].place;
      }
      at = (at + 1) & mask_;
    }
    const std::size_t place = entry.place;
    makeRoom(at);
    buckets_[at] = entry;
    return place;
  }

  const std::vector<Bucket>& all() const noexcept { return buckets_; }

 private:
  std::size_t awayFromOwn(std::size_t at) const noexcept {
    return (at - buckets_[at].hash) & mask_;
  }

  /// Moves what lies from there to the next empty bucket on by one: no order among it changes.
  void makeRoom(std::size_t at) {
    Bucket moving = buckets_[at];
    while (!moving.isEmpty()) {
      at = (at + 1) & mask_;
      std::swap(moving, buckets_[at]);
    }
  }

  std::vector<Bucket> buckets_;
  std::size_t mask_;
};

/// What the library's table reads itself from, part for part: version, entries, buckets, fullness,
/// then all entries and all buckets.
class TableSource {
 public:
  TableSource(std::vector<id>& keys, std::vector<id>& objects, std::size_t count,
              const std::vector<Bucket>& buckets)
      : keys_(keys), objects_(objects), buckets_(buckets), head_{1, count, buckets.size()} {}

  template <class Part>
  Part operator()() {
    if constexpr (std::is_same_v<Part, float>) {
      return kFullest;
    } else if constexpr (std::is_same_v<Part, ObjectMap::value_type>) {
      return nextEntry();
    } else {
      return nextNumber();
    }
  }

 private:
  ObjectMap::value_type nextEntry() {
    ObjectMap::value_type entry(std::move(keys_[entries_]), std::move(objects_[entries_]));
    ++entries_;
    return entry;
  }

  std::uint64_t nextNumber() {
    const std::size_t number = numbers_++;
    if (number < std::size(head_)) {
      return head_[number];
    }
    const Bucket& bucket = buckets_[(number - std::size(head_)) / 2];
    return number % 2 != 0 ? bucket.place : bucket.hash;
  }

  std::vector<id>& keys_;
  std::vector<id>& objects_;
  const std::vector<Bucket>& buckets_;
  const std::uint64_t head_[3];
  std::size_t entries_ = 0;
  std::size_t numbers_ = 0;
};

std::vector<std::uint32_t> hashesOf(const std::vector<id>& keys) {
  std::vector<std::uint32_t> hashes(keys.size());
  std::transform(keys.begin(), keys.end(), hashes.begin(),
                 [](const id& key) { return static_cast<std::uint32_t>(ObjectHash()(key)); });
  return hashes;
}

}  // namespace

ObjectMap tableFromColumns(std::vector<id>& keys, std::vector<id>& objects) {
  if (keys.size() > std::numeric_limits<std::uint32_t>::max() / 2) {
    throw std::length_error("More keys than a table has room for");
  }
  if (keys.empty()) {
    return {};
  }
  const std::vector<std::uint32_t> hashes = hashesOf(keys);
  Buckets buckets(keys.size());
  std::size_t count = 0;
  for (std::size_t index = 0; index < keys.size(); ++index) {
    buckets.ask(hashes[std::min(index + kAhead, keys.size() - 1)]);
    const Bucket entry{static_cast<std::uint32_t>(count), hashes[index]};
    const std::size_t place = buckets.put(
        entry, [&](std::size_t other) { return ObjectEqual()(keys[other], keys[index]); });
    if (place != index) {
      std::swap(objects[place], objects[index]);
    }
    if (place == count && count++ != index) {
      std::swap(keys[place], keys[index]);
    }
  }
  TableSource source(keys, objects, count, buckets.all());
  ObjectMap table = ObjectMap::deserialize(source, true);
  table.max_load_factor(kFullest);
  return table;
}

}  // namespace kestova
