// SPDX-License-Identifier: Apache-2.0
#include "RateText.h"

#include "Text.h"

#include <KestovaFoundation/OVByteFormatter.h>
#include <KestovaPlatform/NSNumber.h>

#include <QLocale>

using namespace kestova;

namespace {

QString bitText(double bits) {
  const char* unit = "kbit";
  bits /= 1000;
  for (const char* larger : {"Mbit", "Gbit"}) {
    if (bits < 1000) {
      break;
    }
    bits /= 1000;
    unit = larger;
  }
  return QLocale().toString(bits, 'f', 1) + ' ' + unit;
}

}  // namespace

QString byteText(quint64 bytes) {
  return shownText(OVByteFormatter::init()->stringForObjectValue(bytes));
}

QString rateText(double bytesPerSecond, RateUnit unit) {
  const QString amount = unit == RateUnit::kBits ? bitText(bytesPerSecond * 8)
                                                 : byteText(static_cast<quint64>(bytesPerSecond));
  return amount + "/s";
}
