// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/KestovaFoundation.h>

#include <iostream>

using namespace kestova;

Ref<NSString> greeting();  // in other.cpp: two units share the headers

int main() {
  Ref<OVBinaryDataStream> stream = OVBinaryDataStream::init();
  stream->writeInt32(42);
  stream->setPosition(0);
  const bool same = stream->readInt32() == 42 && greeting() == "Grüße, 2";
  std::cout << greeting() << (same ? " came back" : " was lost") << '\n';
  return same ? 0 : 1;
}
