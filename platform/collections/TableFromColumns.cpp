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
  TableSource(id* keys, id* objects, std::size_t count, const std::vector<Bucket>& buckets)
      : heads_{1, count, buckets.size()}, key_(keys), object_(objects), bucket_(buckets.data()) {}

  template <class Part>
  Part operator()() {
    if constexpr (std::is_same_v<Part, float>) {
      return kFullest;
    } else if constexpr (std::is_same_v<Part, ObjectMap::value_type>) {
      return {std::move(*key_++), std::move(*object_++)};
    } else {
      return head_ < std::size(heads_) ? heads_[head_++] : nextOfBucket();
    }
  }

 private:
  std::uint64_t nextOfBucket() noexcept {
    isPlaceTaken_ = !isPlaceTaken_;
    return isPlaceTaken_ ? bucket_->place : (bucket_++)->hash;
  }

  const std::uint64_t heads_[3];
  std::size_t head_ = 0;
  id* key_;
  id* object_;
  const Bucket* bucket_;
  bool isPlaceTaken_ = false;
};

void removeFirst(std::size_t count, std::vector<id>& column) {
  column.erase(column.begin(), column.begin() + static_cast<std::ptrdiff_t>(count));
}

}  // namespace

void HashedKeys::reserve(std::size_t count) {
  keys_.reserve(count);
  hashes_.reserve(count);
}

ObjectMap tableFromColumns(HashedKeys& hashed, std::vector<id>& objects) {
  std::vector<id>& keys = hashed.keys();
  const std::vector<std::uint32_t>& hashes = hashed.hashes();
  if (keys.size() > std::numeric_limits<std::uint32_t>::max() / 2) {
    throw std::length_error("More keys than a table has room for");
  }
  if (keys.empty()) {
    return {};
  }
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
  TableSource source(keys.data(), objects.data(), count, buckets.all());
  ObjectMap table = ObjectMap::deserialize(source, true);
  table.max_load_factor(kFullest);
  removeFirst(count, keys);
  removeFirst(count, objects);
  return table;
}

}  // namespace kestova
