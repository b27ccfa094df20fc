// SPDX-License-Identifier: Apache-2.0
// Records in memory and back, the byte order of each value, and the end of a stream.
#include <KestovaFoundation/KestovaFoundation.h>
#include <KestovaPlatform/KestovaPlatform.h>

#include <iostream>

using namespace kestova;

void writeTrack(const Ref<OVBinaryStream>& out, const Ref<NSString>& title, double seconds) {
  out->writeString(title);
  out->writeDouble(seconds);
}

int main() {
  const auto stream = OVBinaryStream::initWithData(nullptr);
  stream->open_error(OVBinaryStreamOpenForWriting | OVBinaryStreamBigEndianOption);
  stream->writeUInt16(2);
  writeTrack(stream, "Grüße", 61.5);
  writeTrack(stream, nullptr, 12);
  std::cout << stream->length() << " bytes\n";

  stream->setPosition(0);
  for (auto left = stream->readUInt16(); left > 0; --left) {
    const auto title = stream->readString();
    if (title == nullptr) {
      stream->offsetPosition(4);  // the count of a string that is nothing stays behind
    }
    const double seconds = stream->readDouble();
    std::cout << (title != nullptr ? title : "untitled") << ": " << seconds << " s\n";
  }

  try {
    stream->readUInt8();
  } catch (const NSException& end) {
    std::cout << end.name() << (stream->isEndOfFile() ? " at the end\n" : "\n");
  }
}
