// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSScannerAdditions.h>

namespace kestova {

inline namespace NSScanner_KestovaPeekAdditions {

namespace {

/// What a scan operation answers, with the location set back.
template <class Scan>
bool peek(const Ref<NSScanner>& scanner, const Scan& scan) {
  const NSUInteger location = scanner->scanLocation();
  const bool succeeded = scan();
  scanner->setScanLocation(location);
  return succeeded;
}

}  // namespace

bool peekInt(const Ref<NSScanner>& self, int* value) {
  return peek(self, [&] { return self->scanInt(value); });
}

bool peekInteger(const Ref<NSScanner>& self, NSInteger* value) {
  return peek(self, [&] { return self->scanInteger(value); });
}

bool peekLongLong(const Ref<NSScanner>& self, long long* value) {
  return peek(self, [&] { return self->scanLongLong(value); });
}

bool peekHexInt(const Ref<NSScanner>& self, unsigned* value) {
  return peek(self, [&] { return self->scanHexInt(value); });
}

bool peekHexLongLong(const Ref<NSScanner>& self, unsigned long long* value) {
  return peek(self, [&] { return self->scanHexLongLong(value); });
}

bool peekFloat(const Ref<NSScanner>& self, float* value) {
  return peek(self, [&] { return self->scanFloat(value); });
}

bool peekDouble(const Ref<NSScanner>& self, double* value) {
  return peek(self, [&] { return self->scanDouble(value); });
}

bool peekHexFloat(const Ref<NSScanner>& self, float* value) {
  return peek(self, [&] { return self->scanHexFloat(value); });
}

bool peekHexDouble(const Ref<NSScanner>& self, double* value) {
  return peek(self, [&] { return self->scanHexDouble(value); });
}

bool peekString_intoString(const Ref<NSScanner>& self, const Ref<NSString>& string,
                           Ref<NSString>* value) {
  return peek(self, [&] { return self->scanString_intoString(string, value); });
}

bool peekCharactersFromSet_intoString(const Ref<NSScanner>& self, const Ref<NSCharacterSet>& set,
                                      Ref<NSString>* value) {
  return peek(self, [&] { return self->scanCharactersFromSet_intoString(set, value); });
}

bool peekUpToString_intoString(const Ref<NSScanner>& self, const Ref<NSString>& string,
                               Ref<NSString>* value) {
  return peek(self, [&] { return self->scanUpToString_intoString(string, value); });
}

bool peekUpToCharactersFromSet_intoString(const Ref<NSScanner>& self,
                                          const Ref<NSCharacterSet>& set, Ref<NSString>* value) {
  return peek(self, [&] { return self->scanUpToCharactersFromSet_intoString(set, value); });
}

/// A length that takes the end around the 64 bits is caught by substringWithRange as well, unless
/// it comes out before the end of the text.
bool scanStringOfLength_intoString(const Ref<NSScanner>& self, NSUInteger length,
                                   Ref<NSString>* value) {
  const NSRange range{self->scanLocation(), length};
  if (NSMaxRange(range) < self->string()->length()) {
    return false;
  }
  *value = self->string()->substringWithRange(range);
  return true;
}

bool peekStringOfLength_intoString(const Ref<NSScanner>& self, NSUInteger length,
                                   Ref<NSString>* value) {
  return peek(self, [&] { return scanStringOfLength_intoString(self, length, value); });
}

}  // namespace NSScanner_KestovaPeekAdditions

}  // namespace kestova
