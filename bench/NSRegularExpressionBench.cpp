// SPDX-License-Identifier: Apache-2.0
// All matches in a text, the first one in short texts, and replacing, beside QRegularExpression and
// GRegex.
#include <KestovaPlatform/NSRegularExpression.h>

#include <benchmark/benchmark.h>
#include <glib.h>
#include <QRegularExpression>
#include <QString>

#include <string>

namespace {

using kestova::NSRegularExpression;
using kestova::NSString;
using kestova::Ref;

constexpr const char* kPatterns[] = {"\\w+", "[a-z]+ing\\b", "word(1|22)\\d+", "(?i)NEEDLE"};

std::string text(std::int64_t length) {
  std::string result;
  for (int i = 0; static_cast<std::int64_t>(result.size()) < length; ++i) {
    result += "word" + std::to_string(i) + (i % 7 == 0 ? " seeking " : ", ");
  }
  result.resize(static_cast<std::size_t>(length));
  return result;
}

Ref<NSString> stringOf(const std::string& text, bool isUTF16) {
  return isUTF16 ? NSString::stringWithUTF16Storage(std::u16string(text.begin(), text.end()))
                 : NSString::stringWithUTF8String(text);
}

const char* patternOf(benchmark::State& state) {
  const char* pattern = kPatterns[state.range(0)];
  state.SetLabel(pattern);
  return pattern;
}

Ref<NSRegularExpression> regexOf(const char* pattern) {
  return NSRegularExpression::regularExpressionWithPattern_options_error(pattern, 0);
}

void AllHere(benchmark::State& state) {
  const auto regex = regexOf(patternOf(state));
  const auto string = stringOf(text(state.range(1)), state.range(2) != 0);
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        regex->numberOfMatchesInString_options_range(string, 0, {0, string->length()}));
  }
  state.SetBytesProcessed(state.iterations() * state.range(1));
}

void AllQRegularExpression(benchmark::State& state) {
  QRegularExpression regex(patternOf(state), QRegularExpression::UseUnicodePropertiesOption);
  regex.optimize();
  const QString string = QString::fromStdString(text(state.range(1)));
  for (auto _ : state) {
    int count = 0;
    for (auto match = regex.globalMatch(string); match.hasNext(); match.next()) ++count;
    benchmark::DoNotOptimize(count);
  }
  state.SetBytesProcessed(state.iterations() * state.range(1));
}

void AllGRegex(benchmark::State& state) {
  GRegex* regex = g_regex_new(patternOf(state), G_REGEX_OPTIMIZE, GRegexMatchFlags(0), nullptr);
  const std::string string = text(state.range(1));
  for (auto _ : state) {
    int count = 0;
    GMatchInfo* match = nullptr;
    g_regex_match(regex, string.c_str(), GRegexMatchFlags(0), &match);
    for (; g_match_info_matches(match) != 0; g_match_info_next(match, nullptr)) ++count;
    g_match_info_free(match);
    benchmark::DoNotOptimize(count);
  }
  g_regex_unref(regex);
  state.SetBytesProcessed(state.iterations() * state.range(1));
}

void ReplaceHere(benchmark::State& state) {
  const auto regex = regexOf("(\\w+), ");
  const auto string = stringOf(text(state.range(0)), state.range(1) != 0);
  const Ref<NSString> templ = "<$1>";
  for (auto _ : state) {
    benchmark::DoNotOptimize(regex->stringByReplacingMatchesInString_options_range_withTemplate(
        string, 0, {0, string->length()}, templ));
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void ReplaceQRegularExpression(benchmark::State& state) {
  QRegularExpression regex("(\\w+), ", QRegularExpression::UseUnicodePropertiesOption);
  regex.optimize();
  const QString string = QString::fromStdString(text(state.range(0)));
  const QString replacement = "<\\1>";
  for (auto _ : state) {
    QString copy = string;
    copy.replace(regex, replacement);
    benchmark::DoNotOptimize(copy.size());
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void ReplaceGRegex(benchmark::State& state) {
  GRegex* regex = g_regex_new("(\\w+), ", G_REGEX_OPTIMIZE, GRegexMatchFlags(0), nullptr);
  const std::string string = text(state.range(0));
  for (auto _ : state) {
    char* replaced = g_regex_replace(regex, string.c_str(), static_cast<gssize>(string.size()), 0,
                                     "<\\1>", GRegexMatchFlags(0), nullptr);
    benchmark::DoNotOptimize(replaced);
    g_free(replaced);
  }
  g_regex_unref(regex);
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

BENCHMARK(AllHere)
    ->ArgNames({"pattern", "length", "UTF16"})
    ->ArgsProduct({{0, 1, 2, 3}, {100, 1 << 20}, {0, 1}});
BENCHMARK(AllQRegularExpression)
    ->ArgNames({"pattern", "length"})
    ->ArgsProduct({{0, 1, 2, 3}, {100, 1 << 20}});
BENCHMARK(AllGRegex)->ArgNames({"pattern", "length"})->ArgsProduct({{0, 1, 2, 3}, {100, 1 << 20}});
BENCHMARK(ReplaceHere)->ArgNames({"length", "UTF16"})->ArgsProduct({{100, 1 << 20}, {0, 1}});
BENCHMARK(ReplaceQRegularExpression)->ArgName("length")->Arg(100)->Arg(1 << 20);
BENCHMARK(ReplaceGRegex)->ArgName("length")->Arg(100)->Arg(1 << 20);

}  // namespace

BENCHMARK_MAIN();
