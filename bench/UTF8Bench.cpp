// SPDX-License-Identifier: Apache-2.0
// Checking and converting 64 MiB of text, beside GLib and ICU, whose converters check as well: the
// strings' own making and giving of UTF-8 does the same work as theirs.
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/UTF8.h>

#include <benchmark/benchmark.h>
#include <glib.h>
#include <unicode/ustring.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace kestova;

constexpr std::size_t kSize = 64U << 20;

/// A text is made of the words in random order, so that no branch can be foretold by heart.
struct Sample {
  const char* name;
  std::vector<std::string_view> words;
};

const std::vector<Sample>& samples() {
  static const std::vector<Sample> all = {
      {"ASCII", {"the ", "quick ", "brown ", "fox ", "jumps ", "over ", "a ", "lazy ", "dog, "}},
      {"Latin",
       {"Übermäßig ", "große ", "Flöße ", "sind ", "kein ", "où ", "êtes ", "vous ", "allés, ",
        "à ", "la ", "fenêtre "}},
      {"Cyrillic", {"съешь ", "же ", "ещё ", "этих ", "мягких ", "французских ", "булок, "}},
      {"CJK",
       {"色は", "匂へど", "散り", "ぬるを", "我が世", "誰ぞ", "常ならむ", "、", "2024年", "。"}},
      {"emoji", {"😀", " smile ", "😃", " grin ", "🚀🚀", " go ", "👩\u200D🚀", ", "}},
  };
  return all;
}

struct Text {
  std::string utf8;
  std::u16string utf16;
};

const Text& textOf(const benchmark::State& state) {
  static std::vector<Text> texts(samples().size());
  const auto index = static_cast<std::size_t>(state.range(0));
  Text& text = texts[index];
  if (text.utf8.empty()) {
    const auto& words = samples()[index].words;
    std::mt19937 random(17);
    text.utf8.reserve(kSize + 64);
    while (text.utf8.size() < kSize) {
      text.utf8 += words[random() % words.size()];
    }
    text.utf16 = NSString::stringWithUTF8String(text.utf8)->utf16();
  }
  return text;
}

void report(benchmark::State& state, std::size_t bytes) {
  state.SetLabel(samples()[static_cast<std::size_t>(state.range(0))].name);
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
}

void limitReading(benchmark::State& state) {
  const auto& text = textOf(state).utf8;
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::memchr(text.data(), 0xFF, text.size()));
  }
  report(state, text.size());
}

void validate(benchmark::State& state) {
  const auto& text = textOf(state).utf8;
  for (auto _ : state) {
    benchmark::DoNotOptimize(isWellFormedUTF8(text));
  }
  report(state, text.size());
}

void validateGLib(benchmark::State& state) {
  const auto& text = textOf(state).utf8;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr));
  }
  report(state, text.size());
}

void validateUTF16(benchmark::State& state) {
  const auto& text = textOf(state).utf16;
  for (auto _ : state) {
    benchmark::DoNotOptimize(isWellFormedUTF16(text));
  }
  report(state, 2 * text.size());
}

void measureUTF16Length(benchmark::State& state) {
  const auto& text = textOf(state).utf8;
  for (auto _ : state) {
    benchmark::DoNotOptimize(utf16LengthOfUTF8(text));
  }
  report(state, text.size());
}

void measureUTF8Length(benchmark::State& state) {
  const auto& text = textOf(state).utf16;
  for (auto _ : state) {
    benchmark::DoNotOptimize(utf8LengthOfUTF16(text));
  }
  report(state, 2 * text.size());
}

/// Rates of conversions count the bytes of the UTF-8 side.
void toUTF16(benchmark::State& state) {
  const Text& text = textOf(state);
  std::u16string buffer(text.utf16.size(), u'\0');
  for (auto _ : state) {
    benchmark::DoNotOptimize(writeUTF16(text.utf8, buffer));
  }
  report(state, text.utf8.size());
}

void toUTF16Checked(benchmark::State& state) {
  const Text& text = textOf(state);
  std::u16string buffer(text.utf16.size(), u'\0');
  for (auto _ : state) {
    benchmark::DoNotOptimize(isWellFormedUTF8(text.utf8));
    benchmark::DoNotOptimize(writeUTF16(text.utf8, buffer));
  }
  report(state, text.utf8.size());
}

void toUTF16ICU(benchmark::State& state) {
  const Text& text = textOf(state);
  std::u16string buffer(text.utf16.size() + 1, u'\0');
  for (auto _ : state) {
    UErrorCode error = U_ZERO_ERROR;
    std::int32_t length = 0;
    u_strFromUTF8(buffer.data(), static_cast<std::int32_t>(buffer.size()), &length,
                  text.utf8.data(), static_cast<std::int32_t>(text.utf8.size()), &error);
    benchmark::DoNotOptimize(length);
  }
  report(state, text.utf8.size());
}

void toUTF8(benchmark::State& state) {
  const Text& text = textOf(state);
  std::string buffer(text.utf8.size(), '\0');
  for (auto _ : state) {
    benchmark::DoNotOptimize(writeUTF8(text.utf16, buffer));
  }
  report(state, text.utf8.size());
}

void toUTF8ICU(benchmark::State& state) {
  const Text& text = textOf(state);
  std::string buffer(text.utf8.size() + 1, '\0');
  for (auto _ : state) {
    UErrorCode error = U_ZERO_ERROR;
    std::int32_t length = 0;
    u_strToUTF8(buffer.data(), static_cast<std::int32_t>(buffer.size()), &length, text.utf16.data(),
                static_cast<std::int32_t>(text.utf16.size()), &error);
    benchmark::DoNotOptimize(length);
  }
  report(state, text.utf8.size());
}

/// A string from UTF-8, which allocates as well: 1 MiB, whose memory is kept by the allocator.
void stringFromUTF8(benchmark::State& state) {
  const auto text = std::string_view(textOf(state).utf8).substr(0, 1U << 20);
  const auto whole = text.substr(0, wellFormedLengthOfUTF8(text));
  for (auto _ : state) {
    benchmark::DoNotOptimize(NSString::stringWithUTF8String(whole));
  }
  report(state, whole.size());
}

void stringToUTF8(benchmark::State& state) {
  const auto units = std::u16string_view(textOf(state).utf16).substr(0, 1U << 19);
  const auto whole = units.substr(0, wellFormedLengthOfUTF16(units));
  const auto string = NSString::stringWithUTF16Storage(std::u16string(whole));
  for (auto _ : state) {
    benchmark::DoNotOptimize(string->UTF8String());
  }
  report(state, utf8LengthOfUTF16(whole));
}

/// What one short string costs: a property name, a word.
void stringFromShortUTF8(benchmark::State& state) {
  const auto text = std::string_view(textOf(state).utf8).substr(0, 30);
  const auto whole = text.substr(0, wellFormedLengthOfUTF8(text));
  for (auto _ : state) {
    benchmark::DoNotOptimize(NSString::stringWithUTF8String(whole));
  }
  report(state, whole.size());
}

#define SAMPLES ->DenseRange(0, 4)

BENCHMARK(limitReading)->Arg(0);
BENCHMARK(validate) SAMPLES;
BENCHMARK(validateGLib) SAMPLES;
BENCHMARK(validateUTF16) SAMPLES;
BENCHMARK(measureUTF16Length) SAMPLES;
BENCHMARK(measureUTF8Length) SAMPLES;
BENCHMARK(toUTF16) SAMPLES;
BENCHMARK(toUTF16Checked) SAMPLES;
BENCHMARK(toUTF16ICU) SAMPLES;
BENCHMARK(toUTF8) SAMPLES;
BENCHMARK(toUTF8ICU) SAMPLES;
BENCHMARK(stringFromUTF8) SAMPLES;
BENCHMARK(stringToUTF8) SAMPLES;
BENCHMARK(stringFromShortUTF8) SAMPLES;

}  // namespace

BENCHMARK_MAIN();
