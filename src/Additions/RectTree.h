// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSGeometry.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace kestova {

/// The numbers among which an edge of some rectangles lies. An edge that is NaN lies nowhere.
struct EdgeBounds {
  double least = std::numeric_limits<double>::infinity();
  double greatest = -std::numeric_limits<double>::infinity();

  bool hold(double edge) const { return least <= edge && edge <= greatest; }
  /// What is compared with NaN stays as it is, so that only `other` may be one.
  void add(const EdgeBounds& other) {
    least = std::min(least, other.least);
    greatest = std::max(greatest, other.greatest);
  }
};

/// Where the edges of some rectangles lie: what NSMinX, NSMinY, NSMaxX and NSMaxY tell of each.
struct RectBounds {
  RectBounds() = default;
  explicit RectBounds(const NSRect& rect)
      : minX{NSMinX(rect), NSMinX(rect)},
        minY{NSMinY(rect), NSMinY(rect)},
        maxX{NSMaxX(rect), NSMaxX(rect)},
        maxY{NSMaxY(rect), NSMaxY(rect)} {}

  void add(const RectBounds& other) {
    minX.add(other.minX);
    minY.add(other.minY);
    maxX.add(other.maxX);
    maxY.add(other.maxY);
  }

  EdgeBounds minX, minY, maxX, maxY;
};

/// Rectangles, found by where their edges are, and of those the one with the least number.
///
///     RectTree tree(rects);
///     tree.replace({2, 5}, pieces);
///     const std::size_t first = tree.first(limit, mayHold, isWanted);
///
/// Cost: making it takes the time of a sort. Finding and replacing take about the logarithm of the
/// number of rectangles where few have edges near those that are looked for.
class RectTree {
 public:
  using Number = std::size_t;

  struct Numbered {
    NSRect rect;
    Number number;
  };

  /// The rectangles are numbered from 0.
  explicit RectTree(std::span<const NSRect> rects);

  /// Takes two rectangles out and puts others, with numbers that were never given before, in.
  void replace(const std::array<Number, 2>& numbers, std::span<const Numbered> others);

  /// The least number below a limit that `isWanted` accepts; the limit where there is none.
  /// `mayHold` tells of bounds whether a rectangle within them could be accepted. Both are asked in
  /// any order.
  template <class MayHold, class IsWanted>
  Number first(Number limit, const MayHold& mayHold, const IsWanted& isWanted) const {
    search(kRoot, limit, mayHold, isWanted);
    return limit;
  }

 private:
  using Entries = std::vector<Numbered>;

  /// What is below a node, and the least number there.
  struct Node {
    RectBounds bounds;
    Number first = std::numeric_limits<Number>::max();

    void add(const Node& other);
    void add(const Numbered& entry) { add(Node{RectBounds(entry.rect), entry.number}); }
  };

  /// A full binary tree: the children of node n are 2n and 2n + 1, the last half are the leaves.
  static constexpr std::size_t kRoot = 1;

  std::size_t leafCount() const { return leaves_.size(); }

  void build(Entries entries);
  void distribute(std::span<Numbered> entries, std::size_t node);
  void fill(std::size_t leaf, std::span<const Numbered> entries);
  void add(const Numbered& entry, std::size_t leaf);
  void remove(Number number);
  void summarize(std::size_t leaf);
  void rebuild();

  template <class MayHold, class IsWanted>
  void search(std::size_t node, Number& limit, const MayHold& mayHold,
              const IsWanted& isWanted) const {
    if (nodes_[node].first >= limit || !mayHold(nodes_[node].bounds)) {
      return;
    }
    if (node >= leafCount()) {
      for (const auto& [rect, number] : leaves_[node - leafCount()]) {
        if (number < limit && mayHold(RectBounds(rect)) && isWanted(number)) {
          limit = number;
        }
      }
      return;
    }
    const std::size_t child = 2 * node;
    const std::size_t nearer = child + (nodes_[child + 1].first < nodes_[child].first ? 1 : 0);
    search(nearer, limit, mayHold, isWanted);
    search(nearer ^ 1, limit, mayHold, isWanted);
  }

  std::vector<Node> nodes_;
  std::vector<Entries> leaves_;
  /// By number.
  std::vector<std::uint32_t> leafOf_;
  std::size_t count_ = 0;
  /// When there are as many, leaves have become long and the tree is made anew.
  std::size_t most_ = 0;
};

}  // namespace kestova
