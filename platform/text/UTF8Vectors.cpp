// SPDX-License-Identifier: Apache-2.0
#include "text/UTF8Vectors.h"

#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "text/UTF8Vectors.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "text/UTF8ErrorTables.h"
#include "values/VectorMasks-inl.h"

// Every lane looks at its neighbours by loads that begin a byte or unit beside it, and never at
// what an earlier step found. So a step may begin anywhere, and the last one of a check may overlap
// the one before it.

HWY_BEFORE_NAMESPACE();
namespace kestova {
namespace HWY_NAMESPACE {
namespace {  // units use the same names for different things

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

std::size_t ASCIIBytes(const std::uint8_t*, std::size_t) { return 0; }
std::size_t ASCIIUnits(const std::uint16_t*, std::size_t) { return 0; }
std::size_t WellFormedUTF8(const std::uint8_t*, std::size_t, std::size_t from) { return from; }
std::size_t WellFormedUTF16(const std::uint8_t*, std::size_t, std::size_t from, std::endian) {
  return from;
}
MeasuredVectors UTF16Length(const std::uint8_t*, std::size_t) { return {}; }
MeasuredVectors UTF8Length(const std::uint16_t*, std::size_t, std::size_t from) {
  return {from, 0};
}
UTF8Piece ToUTF8(std::u16string_view, std::span<char>, UTF8Piece done) { return done; }
UTF16Piece ToUTF16(std::string_view, std::span<char16_t>, UTF16Piece done) { return done; }

#else

const hn::ScalableTag<std::uint8_t> kWideBytes;
const hn::ScalableTag<std::uint16_t> kWideUnits;
const hn::CappedTag<std::uint8_t, 16> kNarrowBytes;
const hn::CappedTag<std::uint16_t, 8> kNarrowUnits;

/// From `from` on, asks `holds(index, steps)` of the `steps` vectors at an index: of four at once,
/// of one, and of one that ends with the text. Answers where a vector begins of which it does not
/// hold, or how far there were vectors.
template <class D, class Holds>
HWY_INLINE std::size_t lengthHolding(D d, std::size_t from, std::size_t size, Holds holds) {
  const std::size_t step = hn::Lanes(d);
  std::size_t index = from;
  for (; size - index >= 4 * step; index += 4 * step) {
    if (!holds(index, 4)) {
      return index;
    }
  }
  for (; size - index >= step; index += step) {
    if (!holds(index, 1)) {
      return index;
    }
  }
  const bool hasRest = index < size && size - from >= step;
  return hasRest && holds(size - step, 1) ? size : index;
}

/// Joins what `of` answers for the vectors at an index by "or".
template <class D, class Of>
HWY_INLINE hn::Vec<D> joined(D d, std::size_t index, int steps, Of of) {
  const std::size_t step = hn::Lanes(d);
  auto all = of(index);
  if (steps == 4) {
    all = hn::Or(hn::Or(all, of(index + step)), hn::Or(of(index + 2 * step), of(index + 3 * step)));
  }
  return all;
}

template <class D>
HWY_INLINE bool isZero(D d, hn::Vec<D> v) {
  return hn::AllTrue(d, hn::Eq(v, hn::Zero(d)));
}

template <class D>
HWY_INLINE hn::Mask<D> isAtLeast(D d, hn::Vec<D> v, int limit) {
  return hn::Gt(v, hn::Set(d, static_cast<hn::TFromD<D>>(limit - 1)));
}

/// Whether no lane has one of the bits.
template <class D>
HWY_INLINE bool hasNone(D d, hn::Vec<D> v, int bits) {
  return isZero(d, hn::And(v, hn::Set(d, static_cast<hn::TFromD<D>>(bits))));
}

template <class D>
HWY_INLINE std::size_t asciiLength(D d, const hn::TFromD<D>* units, std::size_t size) {
  constexpr int kOthers = sizeof(hn::TFromD<D>) == 1 ? 0x80 : 0xFF80;
  const auto at = [=](std::size_t index) HWY_ATTR { return hn::LoadU(d, units + index); };
  return lengthHolding(d, 0, size, [=](std::size_t index, int steps) HWY_ATTR {
    return hasNone(d, joined(d, index, steps, at), kOthers);
  });
}

std::size_t ASCIIBytes(const std::uint8_t* bytes, std::size_t size) {
  return size < hn::Lanes(kWideBytes) ? asciiLength(kNarrowBytes, bytes, size)
                                      : asciiLength(kWideBytes, bytes, size);
}

std::size_t ASCIIUnits(const std::uint16_t* units, std::size_t size) {
  return size < hn::Lanes(kWideUnits) ? asciiLength(kNarrowUnits, units, size)
                                      : asciiLength(kWideUnits, units, size);
}

/// The bytes at `count` places before those of `bytes`; `before` holds those at 16 before.
template <int count, class D>
HWY_INLINE hn::Vec<D> earlier(D d, hn::Vec<D> bytes, hn::Vec<D> before) {
  return hn::CombineShiftRightBytes<16 - count>(d, bytes, before);
}

/// Non-zero where a byte must not stand behind the three before it. Two bytes side by side tell
/// most, each of three nibbles naming the errors that it allows. Only whether a third or fourth
/// byte of a character is a continuation is up to the lead byte, two or three bytes before.
template <class D>
HWY_INLINE hn::Vec<D> utf8Errors(D d, const std::uint8_t* bytes) {
  const auto block = hn::LoadU(d, bytes);
  const auto before = hn::LoadU(d, bytes - kUTF8LookBehind);
  const auto previous = earlier<1>(d, block, before);
  const auto byFirstHigh = hn::TableLookupBytes(
      hn::LoadDup128(d, kUTF8ErrorTables.byFirstHighNibble.data()), hn::ShiftRight<4>(previous));
  const auto byFirstLow =
      hn::TableLookupBytes(hn::LoadDup128(d, kUTF8ErrorTables.byFirstLowNibble.data()),
                           hn::And(previous, hn::Set(d, 0x0F)));
  const auto bySecondHigh = hn::TableLookupBytes(
      hn::LoadDup128(d, kUTF8ErrorTables.bySecondHighNibble.data()), hn::ShiftRight<4>(block));
  const auto errors = hn::And(hn::And(byFirstHigh, byFirstLow), bySecondHigh);
  const auto third = hn::SaturatedSub(earlier<2>(d, block, before), hn::Set(d, 0xE0 - 0x80));
  const auto fourth = hn::SaturatedSub(earlier<3>(d, block, before), hn::Set(d, 0xF0 - 0x80));
  const auto mustContinue = hn::And(hn::Or(third, fourth), hn::Set(d, kSecondContinuation));
  return hn::Xor(mustContinue, errors);
}

template <class D>
HWY_INLINE std::size_t utf8Length(D d, const std::uint8_t* bytes, std::size_t size,
                                  std::size_t from) {
  const auto at = [=](std::size_t index) HWY_ATTR { return hn::LoadU(d, bytes + index); };
  const auto errorsAt = [=](std::size_t index) HWY_ATTR { return utf8Errors(d, bytes + index); };
  return lengthHolding(d, from, size, [=](std::size_t index, int steps) HWY_ATTR {
    return (hasNone(d, joined(d, index, steps, at), 0x80) &&
            hasNone(kNarrowBytes, hn::LoadU(kNarrowBytes, bytes + index - kUTF8LookBehind),
                    0x80)) ||
           isZero(d, joined(d, index, steps, errorsAt));
  });
}

std::size_t WellFormedUTF8(const std::uint8_t* bytes, std::size_t size, std::size_t from) {
  return size - from < hn::Lanes(kWideBytes) ? utf8Length(kNarrowBytes, bytes, size, from)
                                             : utf8Length(kWideBytes, bytes, size, from);
}

/// A vector of units whose bytes stand anywhere.
template <class D>
HWY_INLINE hn::Vec<D> loadUnits(D d, const std::uint8_t* bytes) {
  return hn::BitCast(d, hn::LoadU(hn::Repartition<std::uint8_t, D>(), bytes));
}

/// The bits that tell surrogates, as units of another byte order show them.
constexpr int inOrder(int bits, std::endian order) {
  return order == std::endian::native ? bits : (bits >> 8 | (bits & 0xFF) << 8);
}

template <class D>
HWY_INLINE hn::Mask<D> isKind(D d, hn::Vec<D> units, int kind, std::endian order) {
  using Unit = hn::TFromD<D>;
  const auto bits = hn::And(units, hn::Set(d, static_cast<Unit>(inOrder(0xFC00, order))));
  return hn::Eq(bits, hn::Set(d, static_cast<Unit>(inOrder(kind, order))));
}

/// Non-zero where a unit must not stand behind the one before it: where one is half of a pair and
/// the other is not its other half.
template <class D>
HWY_INLINE hn::Vec<D> utf16Errors(D d, const std::uint8_t* bytes, std::endian order) {
  const auto opens = isKind(d, loadUnits(d, bytes - 2), 0xD800, order);
  const auto closes = isKind(d, loadUnits(d, bytes), 0xDC00, order);
  return hn::VecFromMask(d, hn::Xor(opens, closes));
}

template <class D>
HWY_INLINE std::size_t utf16Length(D d, const std::uint8_t* bytes, std::size_t size,
                                   std::size_t from, std::endian order) {
  const auto errorsAt = [=](std::size_t index)
                            HWY_ATTR { return utf16Errors(d, bytes + 2 * index, order); };
  return lengthHolding(d, from, size, [=](std::size_t index, int steps) HWY_ATTR {
    return isZero(d, joined(d, index, steps, errorsAt));
  });
}

std::size_t WellFormedUTF16(const std::uint8_t* bytes, std::size_t size, std::size_t from,
                            std::endian order) {
  return size - from < hn::Lanes(kWideUnits) ? utf16Length(kNarrowUnits, bytes, size, from, order)
                                             : utf16Length(kWideUnits, bytes, size, from, order);
}

/// Every character gives one unit, and a second one where it takes four bytes.
template <class D>
HWY_INLINE MeasuredVectors addUTF16Length(D d, const std::uint8_t* bytes, std::size_t size,
                                          MeasuredVectors done) {
  const hn::RebindToSigned<D> ds;
  const std::size_t step = hn::Lanes(d);
  const auto lastContinuation = hn::Set(ds, static_cast<std::int8_t>(0xBF));
  for (; size - done.read >= step; done.read += step) {
    const auto block = hn::LoadU(d, bytes + done.read);
    done.length += lanesIn(ds, hn::Gt(hn::BitCast(ds, block), lastContinuation)) +
                   lanesIn(d, isAtLeast(d, block, 0xF0));
  }
  return done;
}

MeasuredVectors UTF16Length(const std::uint8_t* bytes, std::size_t size) {
  return addUTF16Length(kNarrowBytes, bytes, size, addUTF16Length(kWideBytes, bytes, size, {}));
}

/// Units take one byte, two or three, of which a pair saves two.
template <class D>
HWY_INLINE MeasuredVectors addUTF8Length(D d, const std::uint16_t* units, std::size_t size,
                                         MeasuredVectors done) {
  const std::size_t step = hn::Lanes(d);
  for (; size - done.read >= step; done.read += step) {
    const auto block = hn::LoadU(d, units + done.read);
    const auto previous = hn::LoadU(d, units + done.read - 1);
    const auto closes = hn::And(isKind(d, previous, 0xD800, std::endian::native),
                                isKind(d, block, 0xDC00, std::endian::native));
    done.length += step + lanesIn(d, isAtLeast(d, block, 0x80)) +
                   lanesIn(d, isAtLeast(d, block, 0x800)) - 2 * lanesIn(d, closes);
  }
  return done;
}

MeasuredVectors UTF8Length(const std::uint16_t* units, std::size_t size, std::size_t from) {
  const auto wide = addUTF8Length(kWideUnits, units, size, {from, 0});
  return addUTF8Length(kNarrowUnits, units, size, wide);
}

/// Writes the lanes of a mask, side by side; the whole vector behind `to` is overwritten. (Storing
/// the lanes of a mask alone is very slow on some processors.)
template <class D>
HWY_INLINE std::size_t storeKept(D d, hn::Vec<D> lanes, hn::Mask<D> keep, hn::TFromD<D>* to) {
  hn::StoreU(hn::Compress(lanes, keep), d, to);
  return lanesIn(d, keep);
}

/// A lane for each byte; what does not begin a character is dropped, save the second byte of a
/// character of four, which gives the second half of its pair.
template <class D>
struct UTF16Lanes {
  static constexpr D d{};
  static constexpr hn::Rebind<std::uint8_t, D> bytesTag{};

  static HWY_INLINE hn::Vec<D> load(const std::uint8_t* bytes) {
    return hn::PromoteTo(d, hn::LoadU(bytesTag, bytes));
  }
  static HWY_INLINE hn::Vec<D> masked(hn::Vec<D> v, int bits) {
    return hn::And(v, hn::Set(d, static_cast<std::uint16_t>(bits)));
  }
  explicit HWY_INLINE UTF16Lanes(const std::uint8_t* bytes)
      : first(load(bytes)),
        second(masked(load(bytes + 1), 0x3F)),
        third(masked(load(bytes + 2), 0x3F)),
        behindFour(isAtLeast(d, load(bytes - 1), 0xF0)) {}

  HWY_INLINE bool isASCII() const { return hasNone(d, first, 0x80); }
  HWY_INLINE bool hasPairs() const {
    return !hn::AllFalse(d, hn::Or(behindFour, isAtLeast(d, first, 0xF0)));
  }

  /// The units of characters of up to three bytes.
  HWY_INLINE hn::Vec<D> units() const {
    const auto ofTwo = hn::Or(hn::ShiftLeft<6>(masked(first, 0x1F)), second);
    const auto ofThree = hn::Or(hn::ShiftLeft<12>(first), hn::Or(hn::ShiftLeft<6>(second), third));
    const auto ofSome = hn::IfThenElse(isAtLeast(d, first, 0xE0), ofThree, ofTwo);
    return hn::IfThenElse(isAtLeast(d, first, 0x80), ofSome, first);
  }
  HWY_INLINE hn::Mask<D> beginsCharacter() const {
    return hn::Ne(masked(first, 0xC0), hn::Set(d, std::uint16_t{0x80}));
  }

  /// `units` with the halves of pairs put in.
  HWY_INLINE hn::Vec<D> withPairs(hn::Vec<D> units) const {
    const auto upper = hn::Or(hn::ShiftLeft<8>(masked(first, 0x07)),
                              hn::Or(hn::ShiftLeft<2>(second), hn::ShiftRight<4>(third)));
    const auto high = hn::Add(upper, hn::Set(d, std::uint16_t{0xD7C0}));
    const auto lower = hn::Or(hn::ShiftLeft<6>(masked(second, 0x0F)), third);
    const auto low = hn::Or(lower, hn::Set(d, std::uint16_t{0xDC00}));
    return hn::IfThenElse(behindFour, low, hn::IfThenElse(isAtLeast(d, first, 0xF0), high, units));
  }

  hn::Vec<D> first;
  hn::Vec<D> second;
  hn::Vec<D> third;
  hn::Mask<D> behindFour;
};

template <class D>
HWY_INLINE std::size_t writeUnits(D d, const std::uint8_t* bytes, std::uint16_t* to) {
  const UTF16Lanes<D> lanes(bytes);
  if (lanes.isASCII() && hn::AllFalse(d, lanes.behindFour)) {
    hn::StoreU(lanes.first, d, to);
    return hn::Lanes(d);
  }
  if (lanes.hasPairs()) {
    return storeKept(d, lanes.withPairs(lanes.units()),
                     hn::Or(lanes.beginsCharacter(), lanes.behindFour), to);
  }
  return storeKept(d, lanes.units(), lanes.beginsCharacter(), to);
}

template <class D>
HWY_INLINE UTF16Piece addUnits(D d, std::string_view bytes, std::span<char16_t> buffer,
                               UTF16Piece done) {
  const std::size_t step = hn::Lanes(d);
  const auto* from = reinterpret_cast<const std::uint8_t*>(bytes.data());
  auto* to = reinterpret_cast<std::uint16_t*>(buffer.data());
  while (bytes.size() - done.bytesRead >= step + 2 && buffer.size() - done.unitsWritten >= step) {
    done.unitsWritten += writeUnits(d, from + done.bytesRead, to + done.unitsWritten);
    done.bytesRead += step;
  }
  return done;
}

UTF16Piece ToUTF16(std::string_view bytes, std::span<char16_t> buffer, UTF16Piece done) {
  return addUnits(kNarrowUnits, bytes, buffer, addUnits(kWideUnits, bytes, buffer, done));
}

/// Units as lanes of 32 bits, each with its one to three bytes from the lowest one up. Each half of
/// a pair gives two bytes of the pair's four.
template <class D>
struct UTF8Lanes {
  static constexpr D d{};
  static constexpr hn::Rebind<std::uint16_t, D> unitsTag{};
  static constexpr hn::Repartition<std::uint8_t, D> bytesTag{};
  using V = hn::Vec<D>;

  static HWY_INLINE V load(const std::uint16_t* units) {
    return hn::PromoteTo(d, hn::LoadU(unitsTag, units));
  }
  static HWY_INLINE V set(std::uint32_t value) { return hn::Set(d, value); }
  static HWY_INLINE V masked(V v, std::uint32_t bits) { return hn::And(v, set(bits)); }

  explicit HWY_INLINE UTF8Lanes(V unit) {
    const auto last = masked(unit, 0x3F);
    const auto middle = masked(hn::ShiftRight<6>(unit), 0x3F);
    const auto ofTwo = hn::Or(hn::Or(hn::ShiftRight<6>(unit), hn::ShiftLeft<8>(last)), set(0x80C0));
    const auto ofThree = hn::Or(hn::Or(hn::ShiftRight<12>(unit), hn::ShiftLeft<8>(middle)),
                                hn::Or(hn::ShiftLeft<16>(last), set(0x8080E0)));
    const auto needsTwo = isAtLeast(d, unit, 0x80);
    const auto needsThree = isAtLeast(d, unit, 0x800);
    bytes = hn::IfThenElse(needsThree, ofThree, hn::IfThenElse(needsTwo, ofTwo, unit));
    kept =
        hn::IfThenElse(needsThree, set(0xFFFFFF), hn::IfThenElse(needsTwo, set(0xFFFF), set(0xFF)));
  }

  /// Puts in the halves of pairs, and U+FFFD for halves that stand alone.
  HWY_INLINE void addPairs(V previous, V unit, V next) {
    const auto order = std::endian::native;
    const auto opens = isKind(d, unit, 0xD800, order);
    const auto closes = isKind(d, unit, 0xDC00, order);
    const auto isHigh = hn::And(opens, isKind(d, next, 0xDC00, order));
    const auto isLow = hn::And(closes, isKind(d, previous, 0xD800, order));
    const auto upper = hn::Add(masked(unit, 0x3FF), set(0x40));
    const auto high = hn::Or(hn::Or(hn::ShiftRight<8>(upper), set(0x80F0)),
                             hn::ShiftLeft<8>(masked(hn::ShiftRight<2>(upper), 0x3F)));
    const auto third =
        hn::Or(hn::ShiftLeft<4>(masked(previous, 0x3)), masked(hn::ShiftRight<6>(unit), 0xF));
    const auto low = hn::Or(hn::Or(third, set(0x8080)), hn::ShiftLeft<8>(masked(unit, 0x3F)));
    const auto isHalf = hn::Or(isHigh, isLow);
    bytes = hn::IfThenElse(hn::Or(opens, closes), set(0xBDBFEF), bytes);
    bytes = hn::IfThenElse(isHigh, high, hn::IfThenElse(isLow, low, bytes));
    kept = hn::IfThenElse(isHalf, set(0xFFFF), kept);
  }

  HWY_INLINE std::size_t store(std::uint8_t* to) const {
    const auto keep = hn::Ne(hn::BitCast(bytesTag, kept), hn::Zero(bytesTag));
    return storeKept(bytesTag, hn::BitCast(bytesTag, bytes), keep, to);
  }

  V bytes;
  V kept;
};

/// Writes the bytes of units below 0x800, each a lane with one byte or two.
template <class D>
HWY_INLINE std::size_t writeShort(D d, hn::Vec<D> unit, std::uint8_t* to) {
  const hn::Repartition<std::uint8_t, D> bytesTag;
  const auto last = hn::ShiftLeft<8>(hn::And(unit, hn::Set(d, std::uint16_t{0x3F})));
  const auto ofTwo =
      hn::Or(hn::Or(hn::ShiftRight<6>(unit), last), hn::Set(d, std::uint16_t{0x80C0}));
  const auto needsTwo = isAtLeast(d, unit, 0x80);
  const auto kept = hn::Or(hn::VecFromMask(d, needsTwo), hn::Set(d, std::uint16_t{0x00FF}));
  const auto keep = hn::Ne(hn::BitCast(bytesTag, kept), hn::Zero(bytesTag));
  return storeKept(bytesTag, hn::BitCast(bytesTag, hn::IfThenElse(needsTwo, ofTwo, unit)), keep,
                   to);
}

/// Writes the bytes of units that take three bytes or are halves of pairs, half a vector at a time.
template <class D>
HWY_INLINE std::size_t writeLong(D, const std::uint16_t* units, bool hasPairs, std::uint8_t* to) {
  using Wide = hn::Repartition<std::uint32_t, D>;
  const std::size_t half = hn::Lanes(Wide());
  std::size_t written = 0;
  for (const std::uint16_t* unit = units; unit != units + 2 * half; unit += half) {
    UTF8Lanes<Wide> lanes(UTF8Lanes<Wide>::load(unit));
    if (hasPairs) {
      lanes.addPairs(UTF8Lanes<Wide>::load(unit - 1), UTF8Lanes<Wide>::load(unit),
                     UTF8Lanes<Wide>::load(unit + 1));
    }
    written += lanes.store(to + written);
  }
  return written;
}

template <class D>
HWY_INLINE std::size_t writeBytes(D d, const std::uint16_t* units, std::uint8_t* to) {
  const auto unit = hn::LoadU(d, units);
  if (hasNone(d, unit, 0xFF80)) {
    const hn::Rebind<std::uint8_t, D> bytesTag;
    hn::StoreU(hn::DemoteTo(bytesTag, hn::BitCast(hn::RebindToSigned<D>(), unit)), bytesTag, to);
    return hn::Lanes(d);
  }
  if (hasNone(d, unit, 0xF800)) {
    return writeShort(d, unit, to);
  }
  const auto surrogate = hn::And(unit, hn::Set(d, std::uint16_t{0xF800}));
  const bool hasPairs = !hn::AllFalse(d, hn::Eq(surrogate, hn::Set(d, std::uint16_t{0xD800})));
  return writeLong(d, units, hasPairs, to);
}

template <class D>
HWY_INLINE UTF8Piece addBytes(D d, std::u16string_view units, std::span<char> buffer,
                              UTF8Piece done) {
  const std::size_t step = hn::Lanes(d);
  const auto* from = reinterpret_cast<const std::uint16_t*>(units.data());
  auto* to = reinterpret_cast<std::uint8_t*>(buffer.data());
  while (units.size() - done.unitsRead >= step + 1 &&
         buffer.size() - done.bytesWritten >= 4 * step) {
    done.bytesWritten += writeBytes(d, from + done.unitsRead, to + done.bytesWritten);
    done.unitsRead += step;
  }
  return done;
}

UTF8Piece ToUTF8(std::u16string_view units, std::span<char> buffer, UTF8Piece done) {
  return addBytes(kNarrowUnits, units, buffer, addBytes(kWideUnits, units, buffer, done));
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace kestova
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kestova {
namespace {

HWY_EXPORT(ASCIIBytes);
HWY_EXPORT(ASCIIUnits);
HWY_EXPORT(WellFormedUTF8);
HWY_EXPORT(WellFormedUTF16);
HWY_EXPORT(UTF16Length);
HWY_EXPORT(UTF8Length);
HWY_EXPORT(ToUTF8);
HWY_EXPORT(ToUTF16);

const std::uint8_t* raw(const char* bytes) { return reinterpret_cast<const std::uint8_t*>(bytes); }
const std::uint16_t* raw(const char16_t* units) {
  return reinterpret_cast<const std::uint16_t*>(units);
}

bool isContinuation(char byte) { return (byte & 0xC0) == 0x80; }
bool isHigh(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
bool isLow(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

/// Goes back to the beginning of a pair whose second half is still to be read.
UTF8Piece betweenCharacters(UTF8Piece done, std::u16string_view units) {
  const std::size_t index = done.unitsRead;
  const bool isCut = index < units.size() && isLow(units[index]) && isHigh(units[index - 1]);
  return isCut ? UTF8Piece{index - 1, done.bytesWritten - 2} : done;
}

/// Goes back to the beginning of a character of which bytes are still to be read, but no further
/// than to `start`.
UTF16Piece betweenCharacters(UTF16Piece done, std::string_view bytes, std::size_t start) {
  std::size_t lead = done.bytesRead;
  const std::size_t limit = lead - start < 3 ? start : lead - 3;
  while (lead > limit && lead < bytes.size() && isContinuation(bytes[lead])) {
    --lead;
  }
  const std::size_t read = done.bytesRead - lead;
  if (read == 0 || isContinuation(bytes[lead])) {
    return done;
  }
  const bool isPairWritten = static_cast<unsigned char>(bytes[lead]) >= 0xF0 && read >= 2;
  return {lead, done.unitsWritten - (isPairWritten ? 2 : 1)};
}

}  // namespace

std::size_t asciiVectors(std::string_view bytes) noexcept {
  return HWY_DYNAMIC_DISPATCH(ASCIIBytes)(raw(bytes.data()), bytes.size());
}

std::size_t asciiVectors(std::u16string_view units) noexcept {
  return HWY_DYNAMIC_DISPATCH(ASCIIUnits)(raw(units.data()), units.size());
}

std::size_t wellFormedUTF8Vectors(std::string_view bytes, std::size_t from) noexcept {
  return HWY_DYNAMIC_DISPATCH(WellFormedUTF8)(raw(bytes.data()), bytes.size(), from);
}

std::size_t wellFormedUTF16Vectors(std::string_view bytes, std::size_t from,
                                   std::endian order) noexcept {
  return HWY_DYNAMIC_DISPATCH(WellFormedUTF16)(raw(bytes.data()), bytes.size() / 2, from, order);
}

MeasuredVectors utf16LengthVectors(std::string_view wellFormed) noexcept {
  return HWY_DYNAMIC_DISPATCH(UTF16Length)(raw(wellFormed.data()), wellFormed.size());
}

MeasuredVectors utf8LengthVectors(std::u16string_view units, std::size_t from) noexcept {
  return HWY_DYNAMIC_DISPATCH(UTF8Length)(raw(units.data()), units.size(), from);
}

UTF8Piece writeUTF8Vectors(std::u16string_view units, std::span<char> buffer,
                           UTF8Piece done) noexcept {
  return betweenCharacters(HWY_DYNAMIC_DISPATCH(ToUTF8)(units, buffer, done), units);
}

UTF16Piece writeUTF16Vectors(std::string_view wellFormed, std::span<char16_t> buffer,
                             UTF16Piece done) noexcept {
  const auto end = HWY_DYNAMIC_DISPATCH(ToUTF16)(wellFormed, buffer, done);
  return betweenCharacters(end, wellFormed, done.bytesRead);
}

}  // namespace kestova
#endif
