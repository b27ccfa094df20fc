// SPDX-License-Identifier: Apache-2.0
#include "text/TextScanningVectors.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "text/TextScanningVectors.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <KestovaPlatform/UTF8.h>

#include "values/VectorMasks-inl.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>
#include <type_traits>

// Vectors only tell where something stands: as words of 64 bits, one for each unit of a block. What
// is counted of them is then told in shifts, "and" and "not", with the last bit carried on.

HWY_BEFORE_NAMESPACE();
namespace kestova {
namespace HWY_NAMESPACE {
namespace {  // units use the same names for different things

namespace hn = hwy::HWY_NAMESPACE;

constexpr std::size_t kBlock = 64;

using Bits = std::uint64_t;

template <class Unit>
using Lane = std::conditional_t<sizeof(Unit) == 1, std::uint8_t, std::uint16_t>;

template <class Unit>
using Text = std::basic_string_view<Unit>;

template <class Unit>
const Lane<Unit>* lanes(const Unit* units) {
  return reinterpret_cast<const Lane<Unit>*>(units);
}

/// The lowest `count` bits, from 1 to 64 of them.
HWY_INLINE Bits lowBits(std::size_t count) { return ~Bits{0} >> (64 - count); }

HWY_INLINE bool bitAt(Bits bits, std::size_t index) { return (bits >> index & 1) != 0; }

/// The bits moved up by one place, the first one taken from the block before.
HWY_INLINE Bits followed(Bits bits, bool before) { return bits << 1 | Bits{before}; }

HWY_INLINE std::size_t countBits(Bits bits) { return hwy::PopCount(bits); }

/// Which of the set bits is the `nth`, from 1.
HWY_INLINE std::size_t nthBit(Bits bits, std::size_t nth) {
  for (; nth > 1; --nth) {
    bits &= bits - 1;
  }
  return static_cast<std::size_t>(std::countr_zero(bits));
}

/// The units of a block that equal one.
template <class Unit>
HWY_INLINE Bits bitsEqual(const Unit* block, Unit unit) {
  const hn::CappedTag<Lane<Unit>, kBlock> d;
  const auto wanted = hn::Set(d, static_cast<Lane<Unit>>(unit));
  Bits bits = 0;
  HWY_UNROLL(8)
  for (std::size_t i = 0; i < kBlock; i += hn::Lanes(d)) {
    bits |= bitsOf(d, hn::Eq(hn::LoadU(d, lanes(block) + i), wanted)) << i;
  }
  return bits;
}

template <class Unit>
HWY_INLINE Bits crBits(const Unit* block) {
  return bitsEqual(block, Unit{'\r'});
}

template <class Unit>
HWY_INLINE Bits lfBits(const Unit* block) {
  return bitsEqual(block, Unit{'\n'});
}

/// Has the processor fetch what comes some blocks later, which may be behind the text: it does not
/// do so by itself where much is done with each block.
template <class Unit>
HWY_INLINE void fetchAhead(const Unit* block) {
  hwy::Prefetch(reinterpret_cast<const char*>(block) + 2048);
}

/// Hands a text on in blocks until one is refused. The last one is filled up with zeros behind its
/// `count` units.
template <class Unit, class Take>
HWY_INLINE void forBlocks(Text<Unit> text, Take take) {
  for (; text.size() >= kBlock; text.remove_prefix(kBlock)) {
    fetchAhead(text.data());
    if (!take(text.data(), kBlock)) {
      return;
    }
  }
  if (!text.empty()) {
    Unit rest[kBlock] = {};
    std::copy(text.begin(), text.end(), rest);
    take(rest, text.size());
  }
}

/// The `wanted`-th of the bits that `match` answers for the blocks.
template <class Unit, class Match>
HWY_INLINE NthMatch nthMatch(Text<Unit> text, std::size_t wanted, Match match) {
  NthMatch result;
  std::size_t start = 0;
  forBlocks(text, [&](const Unit* block, std::size_t count) HWY_ATTR {
    const Bits bits = match(block, count) & lowBits(count);
    const std::size_t matches = countBits(bits);
    if (wanted - result.count <= matches) {
      result = {start + nthBit(bits, wanted - result.count), wanted};
      return false;
    }
    result.count += matches;
    start += kBlock;
    return true;
  });
  return result;
}

template <class Unit>
NthMatch NthUnit(Text<Unit> text, Unit unit, std::size_t wanted) {
  return nthMatch(text, wanted,
                  [=](const Unit* block, std::size_t) HWY_ATTR { return bitsEqual(block, unit); });
}

template <class Unit>
NthMatch NthCRLF(Text<Unit> text, bool& afterCR, std::size_t wanted) {
  bool after = afterCR;
  const auto result = nthMatch(text, wanted, [&](const Unit* block, std::size_t count) HWY_ATTR {
    const Bits cr = crBits(block);
    const Bits pairs = lfBits(block) & followed(cr, after);
    after = bitAt(cr, count - 1);
    return pairs;
  });
  afterCR = after && result.index == text.npos;  // else the last unit looked at is an LF
  return result;
}

/// A CR is counted where it proves to be without its partner, at the unit after it.
template <class Unit>
std::size_t CountBreaks(Text<Unit> text, CRPartner partner, bool started, bool& afterCR) {
  std::size_t breaks = 0;
  Bits countable = started ? ~Bits{0} : ~Bits{1};
  bool after = afterCR;
  forBlocks(text, [&](const Unit* block, std::size_t count) HWY_ATTR {
    const Bits allCR = crBits(block);
    const Bits allLF = lfBits(block);
    const Bits partners = partner == CRPartner::LF ? allLF : allCR;
    const Bits cr = allCR & countable;
    const Bits alone = followed(cr, after) & ~partners & lowBits(count);
    breaks += countBits(allLF & countable) + countBits(alone);
    after = bitAt(cr, count - 1);
    countable = ~Bits{0};
    return true;
  });
  afterCR = after;
  return breaks;
}

template <class Unit>
std::size_t FirstBreak(Text<Unit> text) {
  const auto breaks = [](const Unit* block, std::size_t)
                          HWY_ATTR { return crBits(block) | lfBits(block); };
  return nthMatch(text, 1, breaks).index;
}

template <class Unit>
std::size_t LastBreak(Text<Unit> text) {
  while (!text.empty()) {
    const std::size_t count = std::min(text.size(), kBlock);
    const auto end = text.substr(text.size() - count);
    Unit copied[kBlock] = {};
    const Unit* block = end.data();
    if (count < kBlock) {
      block = std::copy(end.begin(), end.end(), copied) - count;
    }
    if (const Bits breaks = crBits(block) | lfBits(block)) {
      return text.size() - count + static_cast<std::size_t>(63 - std::countl_zero(breaks));
    }
    text.remove_suffix(count);
  }
  return text.npos;
}

#if HWY_TARGET == HWY_SCALAR

/// Which bytes of a block are in a set.
class MemberBits {
 public:
  explicit MemberBits(const ByteSet& set) : set_(set) {}

  Bits of(const std::uint8_t* block) const {
    Bits bits = 0;
    for (std::size_t i = 0; i < kBlock; ++i) {
      bits |= Bits{set_.contains(block[i])} << i;
    }
    return bits;
  }

 private:
  const ByteSet& set_;
};

#else

using ByteLanes = hn::CappedTag<std::uint8_t, kBlock>;

/// Looks 8-bit lanes up in a set of bytes.
class Members {
 public:
  HWY_INLINE explicit Members(const ByteSet& set)
      : low_(hn::LoadDup128(ByteLanes(), set.lowRow().data())),
        high_(hn::LoadDup128(ByteLanes(), set.highRow().data())),
        bits_(hn::LoadDup128(ByteLanes(), kBitOfHighNibble)) {}

  HWY_INLINE hn::Mask<ByteLanes> of(hn::Vec<ByteLanes> bytes) const {
    const ByteLanes d;
    const hn::RebindToSigned<ByteLanes> signedBytes;
    const auto lowNibble = hn::And(bytes, hn::Set(d, std::uint8_t{0x0F}));
    const auto isHigh = hn::Lt(hn::BitCast(signedBytes, bytes), hn::Zero(signedBytes));
    const auto row =
        hn::IfThenElse(hn::RebindMask(d, isHigh), hn::TableLookupBytes(high_, lowNibble),
                       hn::TableLookupBytes(low_, lowNibble));
    return hn::TestBit(row, hn::TableLookupBytes(bits_, hn::ShiftRight<4>(bytes)));
  }

 private:
  alignas(16) static constexpr std::uint8_t kBitOfHighNibble[16] = {1, 2, 4, 8, 16, 32, 64, 128,
                                                                    1, 2, 4, 8, 16, 32, 64, 128};

  hn::Vec<ByteLanes> low_;
  hn::Vec<ByteLanes> high_;
  hn::Vec<ByteLanes> bits_;
};

/// Which bytes of a block are in a set.
class MemberBits {
 public:
  HWY_INLINE explicit MemberBits(const ByteSet& set) : members_(set) {}

  HWY_INLINE Bits of(const std::uint8_t* block) const {
    const ByteLanes d;
    Bits bits = 0;
    HWY_UNROLL(8)
    for (std::size_t i = 0; i < kBlock; i += hn::Lanes(d)) {
      const auto bytes = hn::LoadU(d, block + i);
      std::atomic_signal_fence(std::memory_order_acq_rel);  // g++ 12 would load them for each use
      bits |= bitsOf(d, members_.of(bytes)) << i;
    }
    return bits;
  }

 private:
  Members members_;
};

#endif

/// Where runs begin.
HWY_INLINE Bits starts(Bits members, bool inRun) { return members & ~followed(members, inRun); }

void CountByteRuns(Text<char> text, const ByteSet& set, RunTally& tally) {
  const MemberBits memberBits(set);
  RunTally sum = tally;
  forBlocks(text, [&](const char* block, std::size_t count) HWY_ATTR {
    const Bits members = memberBits.of(lanes(block)) & lowBits(count);
    sum.runs += countBits(starts(members, sum.inRun));
    sum.inRun = bitAt(members, count - 1);
    return true;
  });
  sum.bytes += text.size();
  tally = sum;
}

#if HWY_TARGET == HWY_SCALAR

void CountUnitRuns(Text<char16_t> text, const ByteSet& set, RunTally& tally) {
  for (char buffer[1024]; !text.empty();) {
    const UTF8Piece piece = writeUTF8(text, buffer);
    CountByteRuns({buffer, piece.bytesWritten}, set, tally);
    text.remove_prefix(piece.unitsRead);
  }
}

#else

using UnitLanes = hn::Repartition<std::uint16_t, ByteLanes>;
using UnitVec = hn::Vec<UnitLanes>;
using UnitMask = hn::Mask<UnitLanes>;

HWY_INLINE UnitVec each(int value) {
  return hn::Set(UnitLanes(), static_cast<std::uint16_t>(value));
}

/// The bits of a vector that `mask` has, moved right and set to where a byte's own bits are.
template <int kShift>
HWY_INLINE UnitVec bitsDown(UnitVec units, int mask) {
  return hn::And(hn::ShiftRight<kShift>(units), each(mask));
}

/// Two bytes for each lane, `marks` added to both of them.
HWY_INLINE UnitVec twoBytes(UnitVec first, UnitVec second, int marks) {
  return hn::Or(hn::Or(first, hn::ShiftLeft<8>(second)), each(marks));
}

HWY_INLINE UnitMask startsWith(UnitVec units, int mask, int value) {
  return hn::Eq(hn::And(units, each(mask)), each(value));
}

HWY_INLINE UnitMask isAbove(UnitVec units, int limit) { return hn::Gt(units, each(limit)); }

/// The UTF-8 form of UTF-16 units, two bytes for each: the first and the last one. A unit of one
/// byte has it twice, the halves of a pair have two each. Only a long unit, of three bytes, has a
/// middle one besides; elsewhere `middles` has the first one again.
struct EdgeBytes {
  UnitVec edges;
  UnitVec middles;
  UnitMask isLong;
};

HWY_INLINE UnitVec shortEdges(UnitVec units) {
  const auto two = twoBytes(hn::ShiftRight<6>(units), hn::And(units, each(0x3F)), 0x80C0);
  const auto one = hn::Or(units, hn::ShiftLeft<8>(units));
  return hn::IfThenElse(isAbove(units, 0x7F), two, one);
}

HWY_INLINE EdgeBytes longEdges(UnitVec units, UnitVec shorts, UnitMask isLong) {
  const auto three = twoBytes(hn::ShiftRight<12>(units), hn::And(units, each(0x3F)), 0x80E0);
  const auto middle = hn::Or(bitsDown<6>(units, 0x3F), each(0x80));
  return {hn::IfThenElse(isLong, three, shorts), hn::IfThenElse(isLong, middle, shorts), isLong};
}

/// The bytes of the first halves of pairs.
HWY_INLINE UnitVec firstHalfEdges(UnitVec units) {
  const auto upper = hn::Sub(units, each(0xD800 - 0x40));
  const auto leading = hn::Or(hn::ShiftRight<8>(upper), each(0x80F0));
  return hn::OrAnd(leading, hn::ShiftLeft<6>(upper), each(0x3F00));
}

/// The bytes of the second halves of pairs.
HWY_INLINE UnitVec secondHalfEdges(UnitVec units, UnitVec before) {
  const auto withUpper = hn::OrAnd(each(0x8080), hn::ShiftLeft<4>(before), each(0x30));
  const auto third = hn::OrAnd(withUpper, hn::ShiftRight<6>(units), each(0x0F));
  return hn::OrAnd(third, hn::ShiftLeft<8>(units), each(0x3F00));
}

/// Where two units, one behind the other, are the halves of a pair.
HWY_INLINE UnitMask arePairs(UnitVec first, UnitVec second) {
  return hn::Lt(hn::Or(hn::Xor(first, each(0xD800)), hn::Xor(second, each(0xDC00))), each(0x400));
}

/// For units with surrogates among them; `text` has a unit on both sides.
HWY_INLINE EdgeBytes surrogateEdges(const std::uint16_t* text, UnitVec shorts, UnitMask isLong) {
  const UnitLanes d;
  const auto units = hn::LoadU(d, text);
  const auto before = hn::LoadU(d, text - 1);
  const auto isFirst = arePairs(units, hn::LoadU(d, text + 1));
  const auto isSecond = arePairs(before, units);
  const auto isPaired = hn::Or(isFirst, isSecond);
  const auto edges =
      hn::IfThenElse(isFirst, firstHalfEdges(units),
                     hn::IfThenElse(isSecond, secondHalfEdges(units, before), shorts));
  const auto isLongAlone = hn::AndNot(isPaired, isLong);
  if (hn::AllFalse(d, isLongAlone)) {
    return {edges, edges, isLongAlone};
  }
  const auto isHalfAlone = hn::AndNot(isPaired, startsWith(units, 0xF800, 0xD800));
  return longEdges(hn::IfThenElse(isHalfAlone, each(0xFFFD), units), edges, isLongAlone);
}

/// Of some units whether the set holds their first and last bytes, side by side, and whether it
/// holds the middle one, in the place of the first; and how many bytes there are besides one each.
struct EdgeBits {
  Bits edges = 0;
  Bits middles = 0;
  std::size_t moreBytes = 0;
};

HWY_INLINE Bits bitsIn(const Members& members, UnitVec bytes) {
  const ByteLanes d;
  return bitsOf(d, members.of(hn::BitCast(d, bytes)));
}

HWY_INLINE EdgeBits edgeBits(const std::uint16_t* text, const Members& members) {
  const UnitLanes d;
  const auto units = hn::LoadU(d, text);
  const auto shorts = shortEdges(units);
  const std::size_t beyondASCII = lanesIn(d, isAbove(units, 0x7F));
  const auto isLong = isAbove(units, 0x7FF);
  if (hn::AllFalse(d, isLong)) {
    const Bits edges = bitsIn(members, shorts);
    return {edges, edges, beyondASCII};
  }
  const auto bytes = hn::AllFalse(d, startsWith(units, 0xF800, 0xD800))
                         ? longEdges(units, shorts, isLong)
                         : surrogateEdges(text, shorts, isLong);
  const Bits edges = bitsIn(members, bytes.edges);
  if (hn::AllFalse(d, bytes.isLong)) {
    return {edges, edges, beyondASCII};
  }
  return {edges, bitsIn(members, bytes.middles), beyondASCII + lanesIn(d, bytes.isLong)};
}

/// Units that make one word of bits, two for each.
constexpr std::size_t kUnitBlock = kBlock / 2;

/// Runs that begin in the bytes of a block. The middle byte, which the edges leave out, changes
/// their number only where both edges differ from it: there it is a run or splits one.
HWY_INLINE std::size_t runsIn(Bits edges, Bits middles, bool inRun) {
  const Bits sameEdges = ~(edges ^ edges >> 1);
  const Bits odd = (middles ^ edges) & sameEdges & 0x5555555555555555;
  return countBits(starts(edges, inRun)) + countBits(odd);
}

/// Adds the first `count` units of a block, which has a unit on both sides.
HWY_INLINE RunTally withUnits(RunTally tally, const char16_t* block, std::size_t count,
                              const Members& members) {
  EdgeBits bits;
  HWY_UNROLL(8)
  for (std::size_t i = 0; i < kUnitBlock; i += hn::Lanes(UnitLanes())) {
    const EdgeBits some = edgeBits(lanes(block) + i, members);
    bits.edges |= some.edges << 2 * i;
    bits.middles |= some.middles << 2 * i;
    bits.moreBytes += some.moreBytes;
  }
  const Bits edges = bits.edges & lowBits(2 * count);
  const Bits middles = bits.middles & lowBits(2 * count);
  return {tally.runs + runsIn(edges, middles, tally.inRun), tally.bytes + count + bits.moreBytes,
          bitAt(edges, 2 * count - 1)};
}

/// Adds the block at `start`, with zeros where the text has no units.
HWY_NOINLINE RunTally withEnd(RunTally tally, Text<char16_t> text, std::size_t start,
                              const Members& members) {
  char16_t padded[kUnitBlock + 2] = {};
  const std::size_t count = std::min(text.size() - start, kUnitBlock);
  const std::size_t before = start == 0 ? 0 : 1;
  const auto part = text.substr(start - before, before + count + 1);
  std::copy(part.begin(), part.end(), padded + 1 - before);
  return withUnits(tally, padded + 1, count, members);
}

void CountUnitRuns(Text<char16_t> text, const ByteSet& set, RunTally& tally) {
  if (text.empty()) {
    return;
  }
  const Members members(set);
  RunTally sum = withEnd(tally, text, 0, members);
  std::size_t start = kUnitBlock;
  for (; start + kUnitBlock < text.size(); start += kUnitBlock) {
    fetchAhead(text.data() + start);
    sum = withUnits(sum, text.data() + start, kUnitBlock, members);
  }
  tally = start < text.size() ? withEnd(sum, text, start, members) : sum;
}

#endif

const TextScans<char>& ByteScans() {
  static constexpr TextScans<char> kScans = {NthUnit<char>,    NthCRLF<char>,   CountBreaks<char>,
                                             FirstBreak<char>, LastBreak<char>, CountByteRuns};
  return kScans;
}

const TextScans<char16_t>& UnitScans() {
  static constexpr TextScans<char16_t> kScans = {NthUnit<char16_t>,     NthCRLF<char16_t>,
                                                 CountBreaks<char16_t>, FirstBreak<char16_t>,
                                                 LastBreak<char16_t>,   CountUnitRuns};
  return kScans;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace kestova
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kestova {

namespace {
HWY_EXPORT(ByteScans);
HWY_EXPORT(UnitScans);
}  // namespace

const TextScans<char>& byteScans() noexcept { return HWY_DYNAMIC_DISPATCH(ByteScans)(); }

const TextScans<char16_t>& unitScans() noexcept { return HWY_DYNAMIC_DISPATCH(UnitScans)(); }

}  // namespace kestova
#endif
