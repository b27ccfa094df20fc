// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSStringEncodingStuff.h>
#include <KestovaFoundation/OVStringEncodingGuess.h>

#include <algorithm>
#include <cstddef>
#include <span>

namespace kestova {
namespace {

std::span<const std::byte> bytesOf(const Ref<NSData>& data) {
  return data ? data->span() : std::span<const std::byte>();
}

}  // namespace

inline namespace NSString_EncodingStuff {

CFStringEncoding quicklyGuessStringEncodingForData(const Ref<NSData>& data) {
  const auto bytes = bytesOf(data);
  OVStringEncodingGuess guess;
  guess.addBytes(bytes.first(std::min<std::size_t>(bytes.size(), 4)));
  return guess.encodingOfMark();
}

CFStringEncoding guessStringEncodingForData(const Ref<NSData>& data) {
  const auto quick = quicklyGuessStringEncodingForData(data);
  if (quick != kCFStringEncodingInvalidId) {
    return quick;
  }
  OVStringEncodingGuess guess;
  guess.addBytes(bytesOf(data));
  return guess.encoding();
}

Ref<NSString> stringWithData_encoding(const Ref<NSData>& data, NSStringEncoding encoding) {
  return NSString::initWithData_encoding(data, encoding);
}

NSUInteger lengthOfBOMForEncoding(const Ref<NSString>&, CFStringEncoding encoding) {
  return byteOrderMarkOfEncoding(encoding).size();
}

bool BOMForEncoding_buffer(const Ref<NSString>&, CFStringEncoding encoding, std::uint8_t* buffer) {
  const auto mark = byteOrderMarkOfEncoding(encoding);
  std::copy(mark.begin(), mark.end(), buffer);
  return !mark.empty();
}

Ref<NSData> dataUsingCFStringEncoding_addBOM(const Ref<NSString>& self, CFStringEncoding encoding,
                                             bool addsBOM) {
  NSUInteger length = 0;
  const NSRange all{0, self->length()};
  if (CFStringGetBytes(self, all, encoding, 0, false, nullptr, 0, &length) == 0) {
    return NSData::data();
  }
  const auto mark = addsBOM ? byteOrderMarkOfEncoding(encoding) : std::string_view();
  const auto data = NSMutableData::data();
  data->appendBytes_length(mark.data(), mark.size());
  auto* bytes = reinterpret_cast<std::uint8_t*>(data->extend(length));
  CFStringGetBytes(self, all, encoding, 0, false, bytes, length, nullptr);
  return NSData::taking(*data);
}

Ref<NSString> convertStringFromEncoding_toEncoding(const Ref<NSString>& self, CFStringEncoding,
                                                   CFStringEncoding toEncoding) {
  return reinterpretStringWithEncoding_fromEncoding(self, toEncoding, toEncoding);
}

Ref<NSString> reinterpretStringWithEncoding_fromEncoding(const Ref<NSString>& self,
                                                         CFStringEncoding encoding,
                                                         CFStringEncoding fromEncoding) {
  const auto data = dataUsingCFStringEncoding_addBOM(self, fromEncoding, false);
  if (data->length() == 0) {
    return nullptr;
  }
  return CFStringCreateWithBytes(reinterpret_cast<const std::uint8_t*>(data->bytes()),
                                 data->length(), encoding, true);
}

}  // namespace NSString_EncodingStuff

}  // namespace kestova
