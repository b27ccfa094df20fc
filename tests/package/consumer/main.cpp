// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/KestovaPlatform.h>

#include <iostream>

kestova::Ref<kestova::NSString> greeting();  // in other.cpp: two units share one library

int main() {
  std::cout << greeting() << '\n';
  return greeting() == "Grüße, 2" ? 0 : 1;
}
