// SPDX-License-Identifier: Apache-2.0
#include "security/ProcessFacts.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>

namespace kestova {
namespace {

/// Which word behind the name is the start time.
constexpr int kStartTimeWord = 20;

/// Cuts the first word off a text whose words are parted by single blanks.
std::string_view takeWord(std::string_view* text) {
  const std::string_view word = text->substr(0, text->find(' '));
  text->remove_prefix(std::min(word.size() + 1, text->size()));
  return word;
}

}  // namespace

/// "4711 (name) S 1 …": the name may hold anything, blanks and parentheses too, but nothing behind
/// it holds a parenthesis.
ProcessFacts ProcessFacts::parse(std::string_view stat) {
  const std::size_t begin = stat.find('(');
  const std::size_t end = stat.rfind(") ");
  if (begin == stat.npos || end == stat.npos || end < begin) {
    return {};
  }
  ProcessFacts facts{.program = std::string(stat.substr(begin + 1, end - begin - 1))};
  std::string_view rest = stat.substr(end + 2);
  std::string_view word;
  for (int number = 0; number < kStartTimeWord; ++number) {
    word = takeWord(&rest);
  }
  const auto [stop, error] =
      std::from_chars(word.data(), word.data() + word.size(), facts.startTime);
  return error == std::errc() && stop == word.data() + word.size() ? facts : ProcessFacts();
}

ProcessFacts ProcessFacts::of(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  return parse(std::string(std::istreambuf_iterator<char>(file), {}));
}

}  // namespace kestova
