// SPDX-License-Identifier: Apache-2.0
// Searching a text of 16 MiB, in which what is looked for stands at the far end, beside memmem,
// strcasestr, QString and ICU; and editing beside QString.
#include <KestovaFoundation/Additions/NSStringEditing.h>
#include <KestovaFoundation/Additions/NSStringSearching.h>
#include <KestovaPlatform/NSString.h>
#include <benchmark/benchmark.h>
#include <unicode/usearch.h>

#include <QString>

#include <cstring>
#include <random>
#include <string>

using namespace kestova;

namespace {

constexpr std::size_t kSize = std::size_t{16} << 20;

/// Words of lower-case letters as common as in English, in lines; now and then an umlaut.
std::u16string makeText(std::u16string_view rare) {
  std::mt19937 engine(1);
  constexpr std::u16string_view kLetters =
      u"eeeeeetttttaaaaooooiiiinnnnsssrrrhhhllddcumfpgwybvk    ";
  std::u16string text;
  text.reserve(kSize);
  while (text.size() < kSize) {
    const auto choice = engine() % 4096;
    text.push_back(choice < 16                    ? u'\n'
                   : choice < 64 && !rare.empty() ? rare[choice % rare.size()]
                                                  : kLetters[choice % kLetters.size()]);
  }
  return text;
}

/// ASCII in 8-bit storage, or with umlauts in UTF-16.
const std::u16string& units(bool isWide) {
  static const std::u16string ascii = makeText(u"");
  static const std::u16string german = makeText(u"äöüß");
  return isWide ? german : ascii;
}

/// What is looked for, by how many units it has; it is put at the given end of the text.
constexpr std::u16string_view kWanted = u"thesenat line of estonia that is nowhere else to see";

std::u16string textWith(bool isWide, std::size_t length, bool atFront) {
  const auto wanted = std::u16string(kWanted.substr(0, length));
  return atFront ? wanted + units(isWide) : units(isWide) + wanted;
}

std::string narrow(const std::u16string& text) { return {text.begin(), text.end()}; }

void reportBytes(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes * state.iterations()));
}

template <bool isWide, NSUInteger options>
void search(benchmark::State& state) {
  const auto length = static_cast<std::size_t>(state.range(0));
  const Ref<NSString> text = textWith(isWide, length, (options & NSBackwardsSearch) != 0);
  const Ref<NSString> wanted = kWanted.substr(0, length);
  for (auto _ : state) {
    benchmark::DoNotOptimize(text->rangeOfString_options(wanted, options));
  }
  reportBytes(state, text->length() * (isWide ? 2 : 1));
}

void searchMemmem(benchmark::State& state) {
  const auto length = static_cast<std::size_t>(state.range(0));
  const std::string text = narrow(textWith(false, length, false));
  const std::string wanted = narrow(std::u16string(kWanted.substr(0, length)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(memmem(text.data(), text.size(), wanted.data(), wanted.size()));
  }
  reportBytes(state, text.size());
}

void searchRfind(benchmark::State& state) {
  const auto length = static_cast<std::size_t>(state.range(0));
  const std::string text = narrow(textWith(false, length, true));
  const std::string wanted = narrow(std::u16string(kWanted.substr(0, length)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(text.rfind(wanted));
  }
  reportBytes(state, text.size());
}

void searchStrcasestr(benchmark::State& state) {
  const auto length = static_cast<std::size_t>(state.range(0));
  const std::string text = narrow(textWith(false, length, false));
  const std::string wanted = narrow(std::u16string(kWanted.substr(0, length)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(strcasestr(text.c_str(), wanted.c_str()));
  }
  reportBytes(state, text.size());
}

QString qString(const std::u16string& text) { return QString::fromStdU16String(text); }

template <Qt::CaseSensitivity sensitivity>
void searchQString(benchmark::State& state) {
  const auto length = static_cast<std::size_t>(state.range(0));
  const QString text = qString(textWith(true, length, false));
  const QString wanted = qString(std::u16string(kWanted.substr(0, length)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(text.indexOf(wanted, 0, sensitivity));
  }
  reportBytes(state, static_cast<std::size_t>(text.size()) * 2);
}

/// Canonical equivalence and case, as far as a collator's second level has them.
void searchICU(benchmark::State& state) {
  const auto length = static_cast<std::size_t>(state.range(0));
  const std::u16string text = textWith(true, length, false);
  const std::u16string wanted(kWanted.substr(0, length));
  UErrorCode status = U_ZERO_ERROR;
  UStringSearch* search =
      usearch_open(wanted.data(), static_cast<std::int32_t>(wanted.size()), text.data(),
                   static_cast<std::int32_t>(text.size()), "", nullptr, &status);
  ucol_setStrength(usearch_getCollator(search), UCOL_SECONDARY);
  usearch_reset(search);
  for (auto _ : state) {
    benchmark::DoNotOptimize(usearch_first(search, &status));
  }
  usearch_close(search);
  reportBytes(state, text.size() * 2);
}

template <bool isWide>
void replaceAll(benchmark::State& state) {
  const Ref<NSString> text = units(isWide);
  for (auto _ : state) {
    benchmark::DoNotOptimize(text->stringByReplacingOccurrencesOfString_withString(" ", "--"));
  }
  reportBytes(state, text->length() * (isWide ? 2 : 1));
}

void replaceAllQString(benchmark::State& state) {
  const QString text = qString(units(true));
  for (auto _ : state) {
    QString copy = text;
    benchmark::DoNotOptimize(copy.replace(" ", "--"));
  }
  reportBytes(state, static_cast<std::size_t>(text.size()) * 2);
}

template <bool isWide>
void normalizeLineEndings(benchmark::State& state) {
  const Ref<NSString> text = units(isWide);
  for (auto _ : state) {
    benchmark::DoNotOptimize(stringByNormalizingLineEndings(text, OVLineEndingCRLF));
  }
  reportBytes(state, text->length() * (isWide ? 2 : 1));
}

void normalizeLineEndingsQString(benchmark::State& state) {
  const QString text = qString(units(true));
  for (auto _ : state) {
    QString copy = text;
    copy.replace("\r\n", "\r").replace("\n", "\r").replace("\r", "\r\n");
    benchmark::DoNotOptimize(copy);
  }
  reportBytes(state, static_cast<std::size_t>(text.size()) * 2);
}

template <bool isWide>
void squeezeBlanks(benchmark::State& state) {
  const Ref<NSString> text = units(isWide);
  for (auto _ : state) {
    benchmark::DoNotOptimize(stringBySqueezingOccurrencesOfString_options(text, " ", 0));
  }
  reportBytes(state, text->length() * (isWide ? 2 : 1));
}

template <bool isWide>
void countOccurrences(benchmark::State& state) {
  const Ref<NSString> text = units(isWide);
  for (auto _ : state) {
    benchmark::DoNotOptimize(numberOfOccurrencesOfString_options(text, "the", 0));
  }
  reportBytes(state, text->length() * (isWide ? 2 : 1));
}

void caseInsensitiveCompare(benchmark::State& state) {
  const Ref<NSString> text = units(false);
  const auto other = text->uppercaseString();
  for (auto _ : state) {
    benchmark::DoNotOptimize(text->caseInsensitiveCompare(other));
  }
  reportBytes(state, text->length());
}

void caseInsensitiveCompareWide(benchmark::State& state) {
  const Ref<NSString> text = units(true);
  const auto other = text->uppercaseString();
  for (auto _ : state) {
    benchmark::DoNotOptimize(text->caseInsensitiveCompare(other));
  }
  reportBytes(state, text->length() * 2);
}

BENCHMARK(search<false, 0>)->Name("ASCII")->Arg(8)->Arg(16)->Arg(48);
BENCHMARK(searchMemmem)->Name("ASCII/memmem")->Arg(8)->Arg(16)->Arg(48);
BENCHMARK(search<false, NSBackwardsSearch>)->Name("ASCII backwards")->Arg(8)->Arg(16);
BENCHMARK(searchRfind)->Name("ASCII backwards/rfind")->Arg(8)->Arg(16);
BENCHMARK(search<false, NSCaseInsensitiveSearch>)->Name("ASCII caseless")->Arg(8)->Arg(16);
BENCHMARK(searchStrcasestr)->Name("ASCII caseless/strcasestr")->Arg(8)->Arg(16);
BENCHMARK(search<true, NSLiteralSearch>)->Name("UTF-16 literal")->Arg(8)->Arg(16);
BENCHMARK(search<true, 0>)->Name("UTF-16")->Arg(8)->Arg(16);
BENCHMARK(searchQString<Qt::CaseSensitive>)->Name("UTF-16/QString")->Arg(8)->Arg(16);
BENCHMARK(search<true, NSCaseInsensitiveSearch>)->Name("UTF-16 caseless")->Arg(8)->Arg(16);
BENCHMARK(searchQString<Qt::CaseInsensitive>)->Name("UTF-16 caseless/QString")->Arg(8)->Arg(16);
BENCHMARK(searchICU)->Name("UTF-16 caseless/ICU usearch")->Arg(16);
BENCHMARK(replaceAll<false>)->Name("replace/ASCII");
BENCHMARK(replaceAll<true>)->Name("replace/UTF-16");
BENCHMARK(replaceAllQString)->Name("replace/QString");
BENCHMARK(normalizeLineEndings<false>)->Name("line endings/ASCII");
BENCHMARK(normalizeLineEndings<true>)->Name("line endings/UTF-16");
BENCHMARK(normalizeLineEndingsQString)->Name("line endings/QString");
BENCHMARK(squeezeBlanks<false>)->Name("squeeze/ASCII");
BENCHMARK(squeezeBlanks<true>)->Name("squeeze/UTF-16");
BENCHMARK(countOccurrences<false>)->Name("count/ASCII");
BENCHMARK(countOccurrences<true>)->Name("count/UTF-16");
BENCHMARK(caseInsensitiveCompare)->Name("compare caseless/ASCII");
BENCHMARK(caseInsensitiveCompareWide)->Name("compare caseless/UTF-16");

}  // namespace

BENCHMARK_MAIN();
