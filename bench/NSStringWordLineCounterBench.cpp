// SPDX-License-Identifier: Apache-2.0
// Lines and words of 256 MiB of text, beside reading every byte of it, a memchr loop and a table
// loop. Rates are of stored bytes that are looked at: in UTF-16 text beyond ASCII that is its
// beginning.
#include <KestovaFoundation/Additions/NSStringWordLineCounter.h>
#include <KestovaPlatform/TextScanning.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace {

using namespace kestova;

constexpr std::size_t kBytes = std::size_t{256} << 20;

enum Writing { ASCII, latin, japanese, emoji };

/// Two lines, one with each ending.
std::u16string_view linesOf(Writing writing) {
  constexpr std::u16string_view kLines[] = {
      u"The quick brown fox jumps over the lazy dog, again and again.\n"
      u"Pack my box with five dozen liquor jugs; then do it once more\r\n",
      u"Zwölf Boxkämpfer jagen Viktor quer über den großen Sylter Deich\n"
      u"Portez ce vieux whisky au juge blond qui fume, là où c'est gêné\r\n",
      u"いろはにほへと散りぬるを、我が世誰ぞ常ならむ。有為の奥山今日越えて\n"
      u"浅き夢見じ、酔ひもせず。日本語の文章には空白がない、12 行目です。\r\n",
      u"Great 😀 news 🎉🎉 for all of us: the 🚀 has landed, at last! 👍 ok\n"
      u"And now 🍰 for everyone who 🙏 hoped for it, 365 days a year 😀\r\n",
  };
  return kLines[writing];
}

/// 256 MiB in the storage that is asked for, made once and kept only until the next one is.
const Ref<NSString>& textOf(Writing writing, bool isEightBit) {
  static Ref<NSString> text;
  static int made = -1;
  if (const int wanted = writing * 2 + (isEightBit ? 1 : 0); made != wanted) {
    text = nullptr;
    const auto lines = linesOf(writing);
    std::u16string units;
    units.reserve(kBytes / 2 + lines.size());
    for (const std::size_t count = kBytes / (isEightBit ? 1 : 2); units.size() < count;) {
      units += lines;
    }
    text = isEightBit ? NSString::stringWithCharacters_length(units.data(), units.size())
                      : NSString::stringWithUTF16Storage(std::move(units));
    made = wanted;
  }
  return text;
}

template <class Count>
void measure(benchmark::State& state, const Ref<NSString>& text, std::size_t looked, Count count) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(count(text));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(looked) * state.iterations());
}

template <class Count>
void measureEightBit(benchmark::State& state, Count count) {
  const auto& text = textOf(ASCII, true);
  measure(state, text, text->length(), count);
}

template <class Count>
void measureAllUnits(benchmark::State& state, Count count) {
  const auto& text = textOf(static_cast<Writing>(state.range(0)), false);
  measure(state, text, 2 * text->length(), count);
}

/// For what looks only at the units of the first `length` bytes.
template <class Count>
void measureFirstUnits(benchmark::State& state, Count count) {
  const auto& text = textOf(static_cast<Writing>(state.range(0)), false);
  const std::u16string_view units(text->utf16Characters(), text->length());
  measure(state, text, 2 * longestUTF8Prefix(units, units.size()).units, count);
}

std::string_view bytesOf(const Ref<NSString>& text) {
  const void* bytes = text->isEightBit() ? static_cast<const void*>(text->eightBitCharacters())
                                         : static_cast<const void*>(text->utf16Characters());
  return {static_cast<const char*>(bytes), text->length() * (text->isEightBit() ? 1 : 2)};
}

using Vector [[gnu::vector_size(16)]] = std::uint64_t;

std::uint64_t sumOfBytes(const Ref<NSString>& text) {
  const std::string_view bytes = bytesOf(text);
  std::array<Vector, 4> sums{};
  for (std::size_t i = 0; i + sizeof(sums) <= bytes.size(); i += sizeof(sums)) {
    __builtin_prefetch(bytes.data() + i + 2048);
    std::array<Vector, 4> block;
    std::memcpy(block.data(), bytes.data() + i, sizeof(block));
    for (std::size_t k = 0; k < sums.size(); ++k) {
      sums[k] += block[k];
    }
  }
  const Vector sum = sums[0] + sums[1] + sums[2] + sums[3];
  return sum[0] + sum[1];
}

std::uint64_t linesByMemchr(const Ref<NSString>& text) {
  std::string_view rest = bytesOf(text);
  std::uint64_t lines = 1;
  for (const void* found; (found = std::memchr(rest.data(), '\n', rest.size())) != nullptr;) {
    rest.remove_prefix(static_cast<std::size_t>(static_cast<const char*>(found) - rest.data()) + 1);
    ++lines;
  }
  return lines;
}

/// What tells letters and digits by a table, one byte at a time.
std::uint64_t wordsByTable(const Ref<NSString>& text) {
  static const auto kMembers = [] {
    std::array<std::uint8_t, 256> members{};
    for (int byte = 0; byte < 128; ++byte) {
      members[static_cast<std::size_t>(byte)] = std::isalnum(byte) != 0;
    }
    return members;
  }();
  std::uint64_t words = 0;
  std::uint8_t before = 0;
  for (const char byte : bytesOf(text)) {
    const std::uint8_t isMember = kMembers[static_cast<std::uint8_t>(byte)];
    words += isMember & (before ^ 1U);
    before = isMember;
  }
  return words;
}

void EightBit_ReadEveryByte(benchmark::State& state) { measureEightBit(state, sumOfBytes); }
void EightBit_LinesByMemchr(benchmark::State& state) { measureEightBit(state, linesByMemchr); }
void EightBit_WordsByTable(benchmark::State& state) { measureEightBit(state, wordsByTable); }
void EightBit_lineCount(benchmark::State& state) { measureEightBit(state, lineCount); }
void EightBit_wordCount(benchmark::State& state) { measureEightBit(state, wordCount); }

void EightBit_lineCountWithLineEnding(benchmark::State& state) {
  const auto ending = static_cast<OVLineEnding>(state.range(0));
  measureEightBit(state, [=](auto& text) { return lineCountWithLineEnding(text, ending); });
}

void EightBit_positionAtEnd(benchmark::State& state) {
  measureEightBit(state, [](auto& text) {
    return lineAndCharacterPositionAtIndex_withTabLength_withLineEnding(text, text->length(), 8,
                                                                        OVLineEndingLF);
  });
}

void UTF16_ReadEveryByte(benchmark::State& state) { measureAllUnits(state, sumOfBytes); }
void UTF16_lineCount(benchmark::State& state) { measureAllUnits(state, lineCount); }
void UTF16_wordCount(benchmark::State& state) { measureFirstUnits(state, wordCount); }

void UTF16_lineCountWithLineEnding(benchmark::State& state) {
  measureFirstUnits(state,
                    [](auto& text) { return lineCountWithLineEnding(text, OVLineEndingLF); });
}

/// A million calls on a text as long as a short line.
void ShortText_wordCount(benchmark::State& state) {
  const Ref<NSString> text = state.range(0) == 0 ? "A short line of some text, 42 units"
                                                 : "Eine kurze Zeile – für 42 Öre, à moi";
  for (auto _ : state) {
    benchmark::DoNotOptimize(wordCount(text));
  }
}

#define IN_MILLISECONDS(name) BENCHMARK(name)->Unit(benchmark::kMillisecond)
#define IN_ALL_WRITINGS(name) \
  IN_MILLISECONDS(name)->ArgName("writing")->Arg(ASCII)->Arg(latin)->Arg(japanese)->Arg(emoji)

IN_MILLISECONDS(EightBit_ReadEveryByte);
IN_MILLISECONDS(EightBit_LinesByMemchr);
IN_MILLISECONDS(EightBit_WordsByTable);
IN_MILLISECONDS(EightBit_lineCount);
IN_MILLISECONDS(EightBit_lineCountWithLineEnding)->ArgName("ending")->Arg(0)->Arg(2);
IN_MILLISECONDS(EightBit_wordCount);
IN_MILLISECONDS(EightBit_positionAtEnd);
IN_ALL_WRITINGS(UTF16_ReadEveryByte);
IN_ALL_WRITINGS(UTF16_lineCount);
IN_ALL_WRITINGS(UTF16_lineCountWithLineEnding);
IN_ALL_WRITINGS(UTF16_wordCount);
BENCHMARK(ShortText_wordCount)->ArgName("utf16")->Arg(0)->Arg(1);

}  // namespace

BENCHMARK_MAIN();
