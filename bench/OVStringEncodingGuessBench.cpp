// SPDX-License-Identifier: Apache-2.0
// Guessing the encoding of 1 MiB, beside ICU's detector, which ranks many encodings and so answers
// more; the rates tell what it costs to know that a text is UTF-8.
#include <KestovaFoundation/OVStringEncodingGuess.h>

#include <benchmark/benchmark.h>
#include <unicode/ucsdet.h>

#include <cstdint>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace kestova;

struct Sample {
  const char* name;
  std::vector<std::string_view> words;
};

const std::vector<Sample>& samples() {
  static const std::vector<Sample> all = {
      {"ASCII", {"the ", "quick ", "brown ", "fox ", "jumps ", "over ", "a ", "lazy ", "dog, "}},
      {"UTF-8 western", {"Übermäßig ", "große ", "sind ", "kein ", "où ", "êtes ", "allés, "}},
      {"UTF-8 Japanese",
       {"色は", "匂へど", "散り", "ぬるを", "我が世", "常ならむ", "、", "2024年"}},
      {"Windows-1252",
       {"gr\xFC\xDF"
        "e ",
        "sind ", "kein ", "ma\xDF ", "the ", "fen\xEAtre "}},
  };
  return all;
}

const std::string& textOf(const benchmark::State& state) {
  static std::vector<std::string> texts(samples().size());
  const auto index = static_cast<std::size_t>(state.range(0));
  std::string& text = texts[index];
  std::mt19937 random(17);
  const auto& words = samples()[index].words;
  while (text.size() < 1U << 20) {
    text += words[random() % words.size()];
  }
  return text;
}

void report(benchmark::State& state, std::size_t size) {
  state.SetLabel(samples()[static_cast<std::size_t>(state.range(0))].name);
  state.SetBytesProcessed(static_cast<std::int64_t>(size) * state.iterations());
}

void guess(benchmark::State& state) {
  const std::string& text = textOf(state);
  for (auto _ : state) {
    OVStringEncodingGuess guess;
    guess.addBytes(std::as_bytes(std::span(text)));
    benchmark::DoNotOptimize(guess.encoding());
  }
  report(state, text.size());
}

void guessICU(benchmark::State& state) {
  const std::string& text = textOf(state);
  UErrorCode error = U_ZERO_ERROR;
  const std::unique_ptr<UCharsetDetector, decltype(&ucsdet_close)> detector(ucsdet_open(&error),
                                                                            &ucsdet_close);
  for (auto _ : state) {
    ucsdet_setText(detector.get(), text.data(), static_cast<std::int32_t>(text.size()), &error);
    benchmark::DoNotOptimize(ucsdet_detect(detector.get(), &error));
  }
  report(state, text.size());
}

BENCHMARK(guess)->DenseRange(0, 3);
BENCHMARK(guessICU)->DenseRange(0, 3);

}  // namespace

BENCHMARK_MAIN();
