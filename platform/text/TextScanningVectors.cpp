// SPDX-License-Identifier: Apache-2.0
#include "text/TextScanningVectors.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "text/TextScanningVectors.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <KestovaPlatform/UTF8.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <type_traits>

// Vectors only tell where something stands: as words of 64 bits, one for each unit of a block. What
// is counted of them is then told in shifts, "and" and "not", with the last bit carried on.

HWY_BEFORE_NAMESPACE();
namespace kestova {
namespace HWY_NAMESPACE {

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

/// A word that holds just the bits of one mask: as wide as what is stored, so that it is not put
/// together in memory.
template <class D>
using MaskWord = std::conditional_t<
    (hn::MaxLanes(D()) > 32), std::uint64_t,
    std::conditional_t<(hn::MaxLanes(D()) > 16), std::uint32_t,
                       std::conditional_t<(hn::MaxLanes(D()) > 8), std::uint16_t, std::uint8_t>>>;

template <class D>
HWY_INLINE Bits bitsOf(D d, hn::Mask<D> mask) {
  std::uint8_t bytes[8] = {};
  hn::StoreMaskBits(d, mask, bytes);
  MaskWord<D> word;
  hwy::CopyBytes<sizeof(word)>(bytes, &word);
  return word;
}

/// The units of a block that equal one.
template <class Unit>
HWY_INLINE Bits bitsEqual(const Unit* block, Unit unit) {
  const hn::CappedTag<Lane<Unit>, kBlock> d;
  const auto wanted = hn::Set(d, static_cast<Lane<Unit>>(unit));
  Bits bits = 0;
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

/// Hands a text on in blocks until one is refused. The last one is filled up with zeros behind its
/// `count` units.
template <class Unit, class Take>
HWY_INLINE void forBlocks(Text<Unit> text, Take take) {
  for (; text.size() >= kBlock; text.remove_prefix(kBlock)) {
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
    for (std::size_t i = 0; i < kBlock; i += hn::Lanes(d)) {
      bits |= bitsOf(d, members_.of(hn::LoadU(d, block + i))) << i;
    }
    return bits;
  }

 private:
  Members members_;
};

#endif

/// Where runs begin.
HWY_INLINE Bits starts(Bits members, bool inRun) { return members & ~followed(members, inRun); }

std::size_t CountByteRuns(Text<char> text, const ByteSet& set, bool& inRun) {
  const MemberBits memberBits(set);
  bool in = inRun;
  std::size_t runs = 0;
  forBlocks(text, [&](const char* block, std::size_t count) HWY_ATTR {
    const Bits members = memberBits.of(lanes(block)) & lowBits(count);
    runs += countBits(starts(members, in));
    in = bitAt(members, count - 1);
    return true;
  });
  inRun = in;
  return runs;
}

#if HWY_TARGET == HWY_SCALAR

std::size_t CountUnitRuns(Text<char16_t> text, const ByteSet& set, bool& inRun) {
  std::size_t runs = 0;
  for (char buffer[1024]; !text.empty();) {
    const UTF8Piece piece = writeUTF8(text, buffer);
    runs += CountByteRuns({buffer, piece.bytesWritten}, set, inRun);
    text.remove_prefix(piece.unitsRead);
  }
  return runs;
}

#else

/// The UTF-8 form of UTF-16 units, two bytes for each: the first and the last one. A unit of one
/// byte has it twice, the halves of a pair have two each. Only a unit of three bytes has a middle
/// one besides; elsewhere `middles` has the first one again.
template <class D>
struct EdgeBytes {
  hn::Vec<D> edges;
  hn::Vec<D> middles;
};

template <class D>
HWY_INLINE hn::Vec<D> shortEdges(D d, hn::Vec<D> units) {
  const auto lastSixBits = hn::ShiftLeft<8>(hn::And(units, hn::Set(d, 0x3F)));
  const auto two = hn::Or(hn::Or(hn::ShiftRight<6>(units), lastSixBits), hn::Set(d, 0x80C0));
  const auto one = hn::Or(units, hn::ShiftLeft<8>(units));
  return hn::IfThenElse(hn::Lt(units, hn::Set(d, 0x80)), one, two);
}

template <class D>
HWY_INLINE hn::Mask<D> startsWith(D d, hn::Vec<D> units, std::uint16_t bits, std::uint16_t value) {
  return hn::Eq(hn::And(units, hn::Set(d, bits)), hn::Set(d, value));
}

template <class D>
HWY_INLINE EdgeBytes<D> withLongUnits(D d, hn::Vec<D> units, hn::Mask<D> isLong,
                                      hn::Vec<D> shorts) {
  const auto lastSixBits = hn::ShiftLeft<8>(hn::And(units, hn::Set(d, 0x3F)));
  const auto three = hn::Or(hn::Or(hn::ShiftRight<12>(units), lastSixBits), hn::Set(d, 0x80E0));
  const auto middle =
      hn::Or(hn::And(hn::ShiftRight<6>(units), hn::Set(d, 0x3F)), hn::Set(d, 0x0080));
  return {hn::IfThenElse(isLong, three, shorts), hn::IfThenElse(isLong, middle, shorts)};
}

/// For units with surrogates among them; `text` has a unit on both sides.
template <class D>
HWY_INLINE EdgeBytes<D> withSurrogates(D d, const std::uint16_t* text) {
  const auto units = hn::LoadU(d, text);
  const auto before = hn::LoadU(d, text - 1);
  const auto after = hn::LoadU(d, text + 1);
  const auto isFirst =
      hn::And(startsWith(d, units, 0xFC00, 0xD800), startsWith(d, after, 0xFC00, 0xDC00));
  const auto isSecond =
      hn::And(startsWith(d, units, 0xFC00, 0xDC00), startsWith(d, before, 0xFC00, 0xD800));
  const auto isPaired = hn::Or(isFirst, isSecond);
  const auto isAlone = hn::AndNot(isPaired, startsWith(d, units, 0xF800, 0xD800));
  const auto whole = hn::IfThenElse(isAlone, hn::Set(d, 0xFFFD), units);
  const auto isLong = hn::AndNot(isPaired, hn::Gt(whole, hn::Set(d, 0x7FF)));
  const auto single = withLongUnits(d, whole, isLong, shortEdges(d, whole));

  const auto upper = hn::Add(hn::And(units, hn::Set(d, 0x3FF)), hn::Set(d, 0x40));
  const auto secondByte = hn::And(hn::ShiftRight<2>(upper), hn::Set(d, 0x3F));
  const auto first =
      hn::Or(hn::Or(hn::ShiftRight<8>(upper), hn::ShiftLeft<8>(secondByte)), hn::Set(d, 0x80F0));
  const auto thirdByte = hn::Or(hn::ShiftLeft<4>(hn::And(before, hn::Set(d, 3))),
                                hn::And(hn::ShiftRight<6>(units), hn::Set(d, 0x0F)));
  const auto fourthByte = hn::And(units, hn::Set(d, 0x3F));
  const auto second = hn::Or(hn::Or(thirdByte, hn::ShiftLeft<8>(fourthByte)), hn::Set(d, 0x8080));
  const auto paired = hn::IfThenElse(isFirst, first, second);
  return {hn::IfThenElse(isPaired, paired, single.edges),
          hn::IfThenElse(isPaired, paired, single.middles)};
}

/// Units that are handed on in one word of bits, two for each.
constexpr std::size_t kUnitBlock = kBlock / 2;

/// For every unit of a block the membership of its first and its last byte, and at the first one's
/// place that of the middle one.
struct EdgeBits {
  Bits edges = 0;
  Bits middles = 0;
};

HWY_INLINE EdgeBits edgeBits(const std::uint16_t* text, const Members& members) {
  const ByteLanes d;
  const hn::Repartition<std::uint16_t, ByteLanes> d16;
  const auto units = hn::LoadU(d16, text);
  const auto isLong = hn::Gt(units, hn::Set(d16, 0x7FF));
  const auto shorts = shortEdges(d16, units);
  const auto bits = [&](hn::Vec<decltype(d16)> bytes)
                        HWY_ATTR { return bitsOf(d, members.of(hn::BitCast(d, bytes))); };
  if (hn::AllFalse(d16, isLong)) {
    const Bits edges = bits(shorts);
    return {edges, edges};
  }
  const auto all = hn::AllFalse(d16, startsWith(d16, units, 0xF800, 0xD800))
                       ? withLongUnits(d16, units, isLong, shorts)
                       : withSurrogates(d16, text);
  return {bits(all.edges), bits(all.middles)};
}

/// Runs that begin in the bytes of a block. The middle byte, which the edges leave out, changes
/// their number only where both edges differ from it: there it is a run or splits one.
HWY_INLINE std::size_t runsIn(EdgeBits bits, bool inRun) {
  const Bits sameEdges = ~(bits.edges ^ bits.edges >> 1);
  const Bits odd = (bits.middles ^ bits.edges) & sameEdges & 0x5555555555555555;
  return countBits(starts(bits.edges, inRun)) + countBits(odd);
}

/// A copy of a few units with zeros around, for where a text has none.
struct PaddedUnits {
  HWY_INLINE explicit PaddedUnits(Text<char16_t> text, std::size_t start) {
    const std::size_t from = start == 0 ? 0 : start - 1;
    const auto part = text.substr(from, start - from + kUnitBlock + 1);
    std::copy(part.begin(), part.end(), units + 1 - (start - from));
  }
  char16_t units[kUnitBlock + 2] = {};
};

std::size_t CountUnitRuns(Text<char16_t> text, const ByteSet& set, bool& inRun) {
  const Members members(set);
  bool in = inRun;
  std::size_t runs = 0;
  const auto take = [&](const char16_t* units, std::size_t count) HWY_ATTR {
    EdgeBits bits;
    for (std::size_t i = 0; i < kBlock; i += hn::Lanes(ByteLanes())) {
      const EdgeBits some = edgeBits(lanes(units) + i / 2, members);
      bits.edges |= some.edges << i;
      bits.middles |= some.middles << i;
    }
    bits.edges &= lowBits(2 * count);
    bits.middles &= lowBits(2 * count);
    runs += runsIn(bits, in);
    in = bitAt(bits.edges, 2 * count - 1);
  };
  for (std::size_t start = 0; start < text.size(); start += kUnitBlock) {
    if (start > 0 && text.size() - start > kUnitBlock) {
      take(text.data() + start, kUnitBlock);
    } else {
      const PaddedUnits padded(text, start);
      take(padded.units + 1, std::min(text.size() - start, kUnitBlock));
    }
  }
  inRun = in;
  return runs;
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
