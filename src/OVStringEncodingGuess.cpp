// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVStringEncodingGuess.h>
#include <KestovaPlatform/UTF8.h>

#include <algorithm>

namespace kestova {
namespace {

struct UTF8Form {
  static std::size_t wellFormedLength(std::string_view bytes) {
    return wellFormedLengthOfUTF8(bytes);
  }
  static bool isCutCharacter(std::string_view bytes) { return withoutCutCharacter(bytes).empty(); }
};

struct UTF16Form {
  std::size_t wellFormedLength(std::string_view bytes) const {
    return sizeof(char16_t) * wellFormedLengthOfUTF16(bytes, order);
  }
  /// A byte, or the first half of a pair and perhaps a byte.
  bool isCutCharacter(std::string_view bytes) const {
    const std::size_t high = order == std::endian::big ? 0 : 1;
    return bytes.size() == 1 || (bytes.size() < 4 && (bytes[high] & 0xFC) == 0xD8);
  }
  std::endian order;
};

std::string_view viewOf(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

void OVStringEncodingGuess::Trial::addUTF8(std::string_view bytes) { add(bytes, UTF8Form{}); }

void OVStringEncodingGuess::Trial::addUTF16(std::string_view bytes, std::endian order) {
  add(bytes, UTF16Form{order});
}

template <class Form>
void OVStringEncodingGuess::Trial::add(std::string_view bytes, const Form& form) {
  if (isRefuted_) {
    return;
  }
  if (cutLength_ > 0) {
    std::array<char, 6> joined;
    const auto added = bytes.substr(0, joined.size() - cutLength_);
    std::copy_n(cut_.begin(), cutLength_, joined.begin());
    std::copy(added.begin(), added.end(), joined.begin() + static_cast<long>(cutLength_));
    const std::string_view view(joined.data(), cutLength_ + added.size());
    const std::size_t length = form.wellFormedLength(view);
    if (length < cutLength_) {
      keepCut(view, form);
      return;
    }
    bytes.remove_prefix(length - cutLength_);
  }
  keepCut(bytes.substr(form.wellFormedLength(bytes)), form);
}

template <class Form>
void OVStringEncodingGuess::Trial::keepCut(std::string_view rest, const Form& form) {
  isRefuted_ = !rest.empty() && (rest.size() > cut_.size() || !form.isCutCharacter(rest));
  cutLength_ = isRefuted_ ? 0 : rest.size();
  std::copy_n(rest.begin(), cutLength_, cut_.begin());
}

void OVStringEncodingGuess::addBytes(std::span<const std::byte> bytes) {
  const std::string_view view = viewOf(bytes);
  const std::uint64_t before = length_;
  for (const char byte : view.substr(0, front_.size() - std::min<std::size_t>(before, 4))) {
    front_[length_++] = static_cast<unsigned char>(byte);
  }
  length_ = before + view.size();
  if (before == 1 && length_ > 1) {
    tryBytes({reinterpret_cast<const char*>(front_.data()), 1});
  }
  if (length_ > 1) {
    tryBytes(view);
  }
}

void OVStringEncodingGuess::tryBytes(std::string_view bytes) {
  utf8_.addUTF8(bytes);
  if (looksLikeUTF16()) {
    utf16_.addUTF16(bytes, order());
  }
}

bool OVStringEncodingGuess::looksLikeUTF16() const { return (front_[0] == 0) != (front_[1] == 0); }

std::endian OVStringEncodingGuess::order() const {
  return front_[0] == 0 ? std::endian::big : std::endian::little;
}

/// The marks of two bytes come before those of four, so that the mark of UTF-32 in little endian is
/// taken for the one of UTF-16 that it begins with, deliberately.
CFStringEncoding OVStringEncodingGuess::encodingOfMark() const {
  const std::string_view front(reinterpret_cast<const char*>(front_.data()),
                               std::min<std::size_t>(length_, front_.size()));
  for (const CFStringEncoding encoding : {kCFStringEncodingUTF8, kCFStringEncodingUTF16BE,
                                          kCFStringEncodingUTF16LE, kCFStringEncodingUTF32BE}) {
    if (front.starts_with(byteOrderMarkOfEncoding(encoding))) {
      return encoding;
    }
  }
  return kCFStringEncodingInvalidId;
}

CFStringEncoding OVStringEncodingGuess::encoding() const {
  if (const auto marked = encodingOfMark(); marked != kCFStringEncodingInvalidId) {
    return marked;
  }
  if (length_ >= 3 && looksLikeUTF16() && utf16_.hasSucceeded()) {
    return order() == std::endian::big ? kCFStringEncodingUTF16BE : kCFStringEncodingUTF16LE;
  }
  const bool isUTF8 = length_ == 1 ? front_[0] < 0x80 : utf8_.hasSucceeded();
  return isUTF8 ? kCFStringEncodingUTF8 : kCFStringEncodingMacRoman;
}

bool OVStringEncodingGuess::isSettled() const {
  const bool isRefuted = utf8_.isRefuted() && (!looksLikeUTF16() || utf16_.isRefuted());
  return length_ >= front_.size() && (isRefuted || encodingOfMark() != kCFStringEncodingInvalidId);
}

}  // namespace kestova
