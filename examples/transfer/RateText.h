// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

/// What a throughput is told in.
enum class RateUnit { kBytes, kBits };

/// "12.5 MB/s" or "104.9 Mbit/s". Bytes are counted in steps of 1024, bits in steps of 1000, as
/// either is used.
QString rateText(double bytesPerSecond, RateUnit unit);

/// A count of bytes, as "12.5 MB".
QString byteText(quint64 bytes);
