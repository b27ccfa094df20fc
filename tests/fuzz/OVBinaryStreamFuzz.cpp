// SPDX-License-Identifier: Apache-2.0
// Hostile bytes behind a stream: every read answers from within them or says that they end.
#include <KestovaFoundation/OVBinaryStream.h>
#include <KestovaPlatform/NSException.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <span>

using namespace kestova;

namespace {

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

/// What was written as read comes back as the same text.
void roundTrip(const Ref<NSString>& text) {
  const auto copy = OVBinaryStream::initWithData(nullptr);
  copy->open_error(OVBinaryStreamOpenForWriting | OVBinaryStreamBigEndianOption);
  copy->writeString(text);
  copy->setPosition(0);
  require(text->isEqual(copy->readString()));
}

void readDataOfStatedLength(OVBinaryStream& stream) {
  const NSUInteger length = stream.readUInt32();
  require(stream.readDataOfLength(length)->length() == length);
}

void readString(OVBinaryStream& stream) {
  if (const auto text = stream.readString()) {
    roundTrip(text);
  }
}

void moveWithin(OVBinaryStream& stream) {
  const auto target = std::min<NSUInteger>(stream.readUInt8(), stream.length());
  stream.setPosition(static_cast<NSInteger>(target));
}

using Read = void (*)(OVBinaryStream& stream);

constexpr Read kReads[] = {
    readString,
    readDataOfStatedLength,
    moveWithin,
    [](OVBinaryStream& stream) { stream.setLittleEndian(!stream.isLittleEndian()); },
    [](OVBinaryStream& stream) { stream.readDouble(); },
    [](OVBinaryStream& stream) { stream.readFloat(); },
    [](OVBinaryStream& stream) { stream.readBool(); },
    [](OVBinaryStream& stream) { stream.readInt8(); },
    [](OVBinaryStream& stream) { stream.readInt16(); },
    [](OVBinaryStream& stream) { stream.readInt32(); },
    [](OVBinaryStream& stream) { stream.readInt64(); },
    [](OVBinaryStream& stream) { stream.readUInt16(); },
    [](OVBinaryStream& stream) { stream.readUInt64(); },
};

}  // namespace

/// The first byte tells how many of the next are kinds of reads; what is behind them is read.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  std::span input(bytes, size);
  if (input.empty() || input[0] >= input.size()) {
    return 0;
  }
  const auto kinds = input.subspan(1, input[0]);
  input = input.subspan(1 + kinds.size());
  const auto stream =
      OVBinaryStream::initWithData(NSData::dataWithBytes_length(input.data(), input.size()));
  stream->open_error(OVBinaryStreamOpenForReading | OVBinaryStreamBigEndianOption);
  for (const std::uint8_t kind : kinds) {
    try {
      kReads[kind % std::size(kReads)](*stream);
    } catch (const NSException& exception) {
      require(exception.name() == OVBinaryStreamEndOfStreamException);
      require(stream->position() <= static_cast<NSInteger>(stream->length()));
    }
  }
  return 0;
}
