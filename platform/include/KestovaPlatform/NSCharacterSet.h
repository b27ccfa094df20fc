// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSRange.h>
#include <KestovaPlatform/NSString.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>

namespace kestova {

class NSData;
class NSMutableCharacterSet;

/// A set of Unicode characters, immutable here.
///
///     Ref<NSCharacterSet> blanks = NSCharacterSet::whitespaceCharacterSet();
///     blanks->characterIsMember(u'\t');  // true
///
/// The named sets follow Unicode's general categories in the version of the ICU that is there, and
/// are the same object every time.
///
/// Threads: immutable, so any number of threads may ask it at a time.
///
/// Cost: asking for a member is one look into a table for U+0000…U+FFFF, which the first question
/// makes (8 KiB), and a search in a sorted list beyond.
class KESTOVA_PLATFORM_EXPORT NSCharacterSet : public NSObject {
  KESTOVA_CLASS(NSCharacterSet, NSObject)

 public:
  /// \name The named sets
  /// @{
  static Ref<NSCharacterSet> controlCharacterSet();     ///< Cc and Cf
  static Ref<NSCharacterSet> whitespaceCharacterSet();  ///< Zs and TAB
  static Ref<NSCharacterSet>
  whitespaceAndNewlineCharacterSet();                ///< Z*, U+000A…U+000D, U+0085, TAB
  static Ref<NSCharacterSet> newlineCharacterSet();  ///< U+000A…U+000D, U+0085, U+2028, U+2029
  static Ref<NSCharacterSet> decimalDigitCharacterSet();       ///< Nd
  static Ref<NSCharacterSet> letterCharacterSet();             ///< L* and M*
  static Ref<NSCharacterSet> lowercaseLetterCharacterSet();    ///< Ll
  static Ref<NSCharacterSet> uppercaseLetterCharacterSet();    ///< Lu and Lt
  static Ref<NSCharacterSet> capitalizedLetterCharacterSet();  ///< Lt
  static Ref<NSCharacterSet> nonBaseCharacterSet();            ///< M*
  static Ref<NSCharacterSet> alphanumericCharacterSet();       ///< L*, M* and N*
  static Ref<NSCharacterSet> decomposableCharacterSet();  ///< those with a canonical decomposition
  static Ref<NSCharacterSet> illegalCharacterSet();       ///< not assigned, and noncharacters
  static Ref<NSCharacterSet> punctuationCharacterSet();   ///< P*
  static Ref<NSCharacterSet> symbolCharacterSet();        ///< S*
  /// @}

  /// \name Making
  /// @{

  /// The characters from `range.location`, as many as `range.length`; throws
  /// NSInvalidArgumentException beyond U+10FFFF.
  static Ref<NSCharacterSet> characterSetWithRange(NSRange range);

  /// The characters of a text; pairs of surrogates count as the character that they stand for, and
  /// an unpaired one as itself. Null throws NSInvalidArgumentException.
  static Ref<NSCharacterSet> characterSetWithCharactersInString(const Ref<NSString>& characters);

  /// What `bitmapRepresentation` answers, as a set again: bit `n % 8` of byte `n / 8` stands for
  /// U+0000…U+FFFF, then for any plane from 1 to 16 its number in a byte and 8192 bytes of the same
  /// kind. Null for data of another shape; a null argument throws NSInvalidArgumentException.
  static Ref<NSCharacterSet> characterSetWithBitmapRepresentation(const Ref<NSData>& data);

  /// All other characters.
  Ref<NSCharacterSet> invertedSet() const;

  /// @}
  /// \name Asking
  /// @{

  /// Whether a UTF-16 unit, taken as the character of that number, is a member. A half of a
  /// surrogate pair is so only by itself, never for the character of the pair.
  bool characterIsMember(unichar character) const {
    const Bitmap* bitmap = bitmap_.load(std::memory_order_acquire);
    if (bitmap == nullptr) [[unlikely]] {
      bitmap = makeBitmap();
    }
    return ((*bitmap)[character / 64U] >> character % 64U & 1U) != 0;
  }

  /// Whether a character is a member; false beyond U+10FFFF.
  bool longCharacterIsMember(std::uint32_t character) const {
    return character <= 0xFFFF ? characterIsMember(static_cast<unichar>(character))
                               : supplementaryCharacterIsMember(character);
  }

  /// Whether there is a member in that plane of 65536 characters; false beyond plane 16.
  bool hasMemberInPlane(std::uint8_t plane) const;

  /// Whether every member of another set is a member of this one. Null throws
  /// NSInvalidArgumentException.
  bool isSupersetOfSet(const Ref<NSCharacterSet>& other) const;

  /// The members as bits; see `characterSetWithBitmapRepresentation`. Planes without a member are
  /// left out, plane 0 never is.
  Ref<NSData> bitmapRepresentation() const;

  /// Equal sets have the same members.
  bool isEqual(const id& other) const override;
  NSUInteger hash() const override;

  /// @}

  id copy() const override;
  id mutableCopy() const override;

 protected:
  /// Defined where ICU is known.
  struct Members;

  explicit NSCharacterSet(Members members);
  ~NSCharacterSet() override;

  /// Lets go of what was derived from the members, which have changed.
  void membersDidChange() noexcept;

  const std::unique_ptr<Members> members_;

 private:
  friend class NSMutableCharacterSet;

  using Bitmap = std::array<std::uint64_t, 0x10000 / 64>;

  const Bitmap* makeBitmap() const;
  bool supplementaryCharacterIsMember(std::uint32_t character) const;

  /// One bit for each of U+0000…U+FFFF, null until somebody asks.
  mutable std::atomic<const Bitmap*> bitmap_{nullptr};
};

/// A set of characters that changes.
///
/// Threads: one at a time.
///
/// Cost: a change is linear in the number of runs of members; the table that answers questions is
/// made anew by the first question after it.
class KESTOVA_PLATFORM_EXPORT NSMutableCharacterSet : public NSCharacterSet {
  KESTOVA_CLASS(NSMutableCharacterSet, NSCharacterSet)

 public:
  /// \name Making
  /// The named sets are had as `mutableCopy` of the immutable ones.
  /// @{

  /// No characters.
  static Ref<NSMutableCharacterSet> init();

  /// As the immutable ones of the same name.
  static Ref<NSMutableCharacterSet> characterSetWithRange(NSRange range);
  static Ref<NSMutableCharacterSet> characterSetWithCharactersInString(
      const Ref<NSString>& characters);

  /// @}
  /// \name Changing
  /// A range beyond U+10FFFF and a null argument throw NSInvalidArgumentException.
  /// @{

  void addCharactersInRange(NSRange range);
  void removeCharactersInRange(NSRange range);
  void addCharactersInString(const Ref<NSString>& characters);
  void removeCharactersInString(const Ref<NSString>& characters);
  void formUnionWithCharacterSet(const Ref<NSCharacterSet>& other);
  void formIntersectionWithCharacterSet(const Ref<NSCharacterSet>& other);

  /// Makes the members all those characters that are none now.
  void invert();

  /// @}

  id copy() const override;

 protected:
  explicit NSMutableCharacterSet(Members members);
};

}  // namespace kestova
