// SPDX-License-Identifier: Apache-2.0
// Typed values in memory, beside QDataStream on a QByteArray.
#include <KestovaFoundation/OVBinaryDataStream.h>

#include <benchmark/benchmark.h>
#include <QByteArray>
#include <QDataStream>
#include <QIODevice>

#include <cstdint>

namespace {

using kestova::OVBinaryDataStream;
using kestova::Ref;

/// Each round is one 32-bit integer, one 64-bit integer and one double.
constexpr int kRounds = 1'000'000;
constexpr int kValues = 3 * kRounds;

Ref<OVBinaryDataStream> openedStream(bool littleEndian) {
  auto stream = OVBinaryDataStream::initWithData(nullptr);
  stream->open_error(kestova::OVBinaryStreamOpenForWriting |
                     (littleEndian ? kestova::OVBinaryStreamLittleEndianOption
                                   : kestova::OVBinaryStreamBigEndianOption));
  return stream;
}

void writeValues(OVBinaryDataStream& stream) {
  for (int i = 0; i < kRounds; ++i) {
    stream.writeUInt32(static_cast<std::uint32_t>(i));
    stream.writeUInt64(static_cast<std::uint64_t>(i) * 3);
    stream.writeDouble(i * 0.5);
  }
}

void writeValues(QDataStream& stream) {
  for (int i = 0; i < kRounds; ++i) {
    stream << static_cast<quint32>(i) << static_cast<quint64>(i) * 3 << i * 0.5;
  }
}

QDataStream::ByteOrder orderOf(const benchmark::State& state) {
  return state.range(0) != 0 ? QDataStream::LittleEndian : QDataStream::BigEndian;
}

void countValues(benchmark::State& state) { state.SetItemsProcessed(state.iterations() * kValues); }

void WriteHere(benchmark::State& state) {
  for (auto _ : state) {
    const auto stream = openedStream(state.range(0) != 0);
    writeValues(*stream);
    benchmark::DoNotOptimize(stream->length());
  }
  countValues(state);
}

void WriteQDataStream(benchmark::State& state) {
  for (auto _ : state) {
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(orderOf(state));
    writeValues(stream);
    benchmark::DoNotOptimize(bytes.size());
  }
  countValues(state);
}

void ReadHere(benchmark::State& state) {
  const auto stream = openedStream(state.range(0) != 0);
  writeValues(*stream);
  for (auto _ : state) {
    stream->setPosition(0);
    double sum = 0;
    for (int i = 0; i < kRounds; ++i) {
      sum += stream->readUInt32();
      sum += static_cast<double>(stream->readUInt64());
      sum += stream->readDouble();
    }
    benchmark::DoNotOptimize(sum);
  }
  countValues(state);
}

void ReadQDataStream(benchmark::State& state) {
  QByteArray bytes;
  {
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(orderOf(state));
    writeValues(stream);
  }
  for (auto _ : state) {
    QDataStream stream(bytes);
    stream.setByteOrder(orderOf(state));
    double sum = 0;
    for (int i = 0; i < kRounds; ++i) {
      quint32 a = 0;
      quint64 b = 0;
      double c = 0;
      stream >> a >> b >> c;
      sum += a + static_cast<double>(b) + c;
    }
    benchmark::DoNotOptimize(sum);
  }
  countValues(state);
}

#define IN_BOTH_ORDERS(name) \
  BENCHMARK(name)->ArgName("little")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)

IN_BOTH_ORDERS(WriteHere);
IN_BOTH_ORDERS(WriteQDataStream);
IN_BOTH_ORDERS(ReadHere);
IN_BOTH_ORDERS(ReadQDataStream);

}  // namespace

BENCHMARK_MAIN();
