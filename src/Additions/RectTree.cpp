// SPDX-License-Identifier: Apache-2.0
#include "RectTree.h"

#include <bit>
#include <cmath>
#include <utility>

namespace kestova {
namespace {

/// Fewer make more nodes to look at, more make more entries.
constexpr std::size_t kLeafSize = 8;

using Edge = double (*)(const NSRect&);

/// The edge that tells rectangles best apart.
Edge widestEdge(const RectBounds& bounds) {
  const auto spread = [](const EdgeBounds& edge) { return edge.greatest - edge.least; };
  const std::array<std::pair<double, Edge>, 4> edges = {{{spread(bounds.minX), NSMinX},
                                                         {spread(bounds.minY), NSMinY},
                                                         {spread(bounds.maxX), NSMaxX},
                                                         {spread(bounds.maxY), NSMaxY}}};
  auto widest = edges[0];
  for (const auto& edge : edges) {
    widest = edge.first > widest.first ? edge : widest;
  }
  return widest.second;
}

}  // namespace

void RectTree::Node::add(const Node& other) {
  bounds.add(other.bounds);
  first = std::min(first, other.first);
}

RectTree::RectTree(std::span<const NSRect> rects) : leafOf_(rects.size()) {
  Entries entries;
  entries.reserve(rects.size());
  for (const NSRect& rect : rects) {
    entries.push_back({rect, entries.size()});
  }
  build(std::move(entries));
}

void RectTree::build(Entries entries) {
  count_ = entries.size();
  most_ = 2 * count_ + kLeafSize;
  const std::size_t leaves = std::bit_ceil(count_ / kLeafSize + 1);
  leaves_.assign(leaves, {});
  nodes_.assign(2 * leaves, {});
  distribute(entries, kRoot);
}

/// Halves what there is until there is a part for each leaf.
void RectTree::distribute(std::span<Numbered> entries, std::size_t node) {
  if (node >= leafCount()) {
    fill(node - leafCount(), entries);
    return;
  }
  RectBounds bounds;
  for (const Numbered& entry : entries) {
    bounds.add(RectBounds(entry.rect));
  }
  const auto place = [edge = widestEdge(bounds)](const Numbered& entry) {
    const double value = edge(entry.rect);
    return std::isnan(value) ? -std::numeric_limits<double>::infinity() : value;
  };
  const auto half = entries.size() / 2;
  std::ranges::nth_element(entries, entries.begin() + static_cast<std::ptrdiff_t>(half), {}, place);
  distribute(entries.first(half), 2 * node);
  distribute(entries.subspan(half), 2 * node + 1);
  nodes_[node] = nodes_[2 * node];
  nodes_[node].add(nodes_[2 * node + 1]);
}

void RectTree::fill(std::size_t leaf, std::span<const Numbered> entries) {
  leaves_[leaf].assign(entries.begin(), entries.end());
  for (const Numbered& entry : entries) {
    leafOf_[entry.number] = static_cast<std::uint32_t>(leaf);
    nodes_[leaf + leafCount()].add(entry);
  }
}

/// What takes the place of two rectangles lies near them, so that their leaves are the right ones.
void RectTree::replace(const std::array<Number, 2>& numbers, std::span<const Numbered> others) {
  const std::uint32_t leaf = leafOf_[numbers[1]];
  std::ranges::for_each(numbers, [&](Number number) { remove(number); });
  std::ranges::for_each(others, [&](const Numbered& other) { add(other, leaf); });
  if (count_ >= most_) {
    rebuild();
  }
}

void RectTree::add(const Numbered& entry, std::size_t leaf) {
  leafOf_.resize(std::max(leafOf_.size(), entry.number + 1));
  leafOf_[entry.number] = static_cast<std::uint32_t>(leaf);
  leaves_[leaf].push_back(entry);
  ++count_;
  for (std::size_t node = leaf + leafCount(); node >= kRoot; node /= 2) {
    nodes_[node].add(entry);
  }
}

void RectTree::remove(Number number) {
  const std::uint32_t leaf = leafOf_[number];
  std::erase_if(leaves_[leaf], [&](const Numbered& entry) { return entry.number == number; });
  --count_;
  summarize(leaf);
}

/// Says anew what is in a leaf and below the nodes above it.
void RectTree::summarize(std::size_t leaf) {
  std::size_t node = leaf + leafCount();
  nodes_[node] = {};
  std::ranges::for_each(leaves_[leaf], [&](const Numbered& entry) { nodes_[node].add(entry); });
  while ((node /= 2) >= kRoot) {
    nodes_[node] = nodes_[2 * node];
    nodes_[node].add(nodes_[2 * node + 1]);
  }
}

void RectTree::rebuild() {
  Entries entries;
  entries.reserve(count_);
  for (const Entries& leaf : leaves_) {
    entries.insert(entries.end(), leaf.begin(), leaf.end());
  }
  build(std::move(entries));
}

}  // namespace kestova
