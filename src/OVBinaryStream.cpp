// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVBinaryDataStream.h>
#include <KestovaFoundation/OVBinaryFileStream.h>
#include <KestovaFoundation/OVBinaryStream.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSNumber.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

namespace kestova {

constinit const StringConstant OVBinaryStreamEndOfStreamException{
    "OVBinaryStreamEndOfStreamException"};
constinit const StringConstant OVBinaryStreamReadErrorException{"OVBinaryStreamReadErrorException"};

namespace {

/// The most that is asked of memory before bytes have shown that they are there.
constexpr NSUInteger kFirstPiece = 64 * 1024;

}  // namespace

KESTOVA_DEFINE_CLASS(OVBinaryStream)

Ref<OVBinaryStream> OVBinaryStream::initWithFilePath(const Ref<NSString>& filePath) {
  return OVBinaryFileStream::initWithFilePath(filePath);
}

Ref<OVBinaryStream> OVBinaryStream::initWithData(const Ref<NSData>& data) {
  return OVBinaryDataStream::initWithData(data);
}

void OVBinaryStream::chooseByteOrder(NSInteger options) noexcept {
  const bool isBigEndian = (options & OVBinaryStreamLittleEndianOption) == 0 &&
                           (options & OVBinaryStreamBigEndianOption) != 0;
  mLittleEndian = isBigEndian ? 0 : 1;
}

void OVBinaryStream::offsetPosition(NSInteger delta) { setPosition(position() + delta); }

void OVBinaryStream::writeString(const Ref<NSString>& string) {
  const std::optional<std::string> utf8 = string ? string->UTF8String() : std::nullopt;
  const std::string_view bytes = utf8 ? std::string_view(*utf8) : std::string_view();
  const auto count = static_cast<std::uint32_t>(bytes.size());
  writeBool(string != nullptr);
  writeUInt32(count);
  if (count != 0) {
    writeData_length(bytes.data(), count);
  }
}

Ref<NSString> OVBinaryStream::readString() {
  if (!readBool()) {
    return nullptr;
  }
  const std::uint32_t count = readUInt32();
  if (count == 0) {
    return NSString::string();
  }
  const Ref<NSData> utf8 = readDataOfLength(count);
  return NSString::stringWithUTF8String(
      {reinterpret_cast<const char*>(utf8->bytes()), utf8->length()});
}

/// Never asks for more than it has already got: what a length claims is not believed before it is
/// there.
Ref<NSData> OVBinaryStream::readDataOfLength(NSUInteger length) {
  const Ref<NSMutableData> data = NSMutableData::data();
  do {
    const NSUInteger piece =
        std::min(length - data->length(), std::max(kFirstPiece, data->length()));
    readData_length(data->extend(piece), piece);
  } while (data->length() < length);
  return data;
}

}  // namespace kestova
