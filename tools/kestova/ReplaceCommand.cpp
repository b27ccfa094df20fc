// SPDX-License-Identifier: Apache-2.0
#include "ByteCommands.h"

#include "Counted.h"
#include "EachArgument.h"
#include "FileFailure.h"
#include "InputFile.h"
#include "OutputFile.h"

#include <KestovaPlatform/ByteSearch.h>
#include <KestovaPlatform/HexCoding.h>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kestova::tool {
namespace {

using Bytes = std::span<const std::byte>;

/// What hex on the command line may hold: digits, and signs that people put between bytes.
const CLI::Validator kHex(
    [](const std::string& text) -> std::string {
      HexReader reader;
      std::vector<std::byte> bytes(text.size() / 2 + 1);
      reader.read(std::string_view(text), bytes.data());
      const bool isClean = text.find_first_not_of("0123456789abcdefABCDEF :-") == std::string::npos;
      return isClean && reader.digits() % 2 == 0 ? "" : "not bytes in hex: " + text;
    },
    "HEX");

std::vector<std::byte> bytesOfHex(const std::string& text) {
  HexReader reader;
  std::vector<std::byte> bytes(text.size() / 2 + 1);
  bytes.resize(reader.read(std::string_view(text), bytes.data()));
  return bytes;
}

/// Walks through a file of any length: hands on the bytes between the matches, and tells of each
/// match, which is from the front on and overlaps no other.
class MatchWalk {
 public:
  explicit MatchWalk(Bytes pattern) : pattern_(pattern), buffer_(kPieceSize + pattern.size()) {}

  /// `matched` answers whether to go on.
  template <class Kept, class Matched>
  void run(InputFile& input, Kept&& kept, Matched&& matched) {
    std::size_t carried = 0;
    for (bool isLast = false; !isLast;) {
      const std::span<std::byte> room = std::span(buffer_).subspan(carried);
      const std::size_t count = input.read(room);
      isLast = count < room.size();
      Bytes rest = Bytes(buffer_).first(carried + count);
      for (std::size_t at = 0; (at = pattern_.firstIn(rest)) != BytePattern::npos;) {
        kept(rest.first(at));
        if (!matched()) {
          return;
        }
        rest = rest.subspan(at + pattern_.size());
      }
      // A match may begin in the last bytes of a piece.
      carried = isLast ? 0 : std::min(pattern_.size() - 1, rest.size());
      kept(rest.first(rest.size() - carried));
      std::ranges::copy(rest.last(carried), buffer_.begin());
    }
  }

 private:
  static constexpr std::size_t kPieceSize = std::size_t{1} << 20;

  BytePattern pattern_;
  std::vector<std::byte> buffer_;
};

void refuseIrregular(const InputFile& input) {
  struct stat facts {};
  if (::fstat(input.descriptor(), &facts) != 0 || S_ISDIR(facts.st_mode)) {
    throw FileFailure(input.displayName(), S_ISDIR(facts.st_mode) ? EISDIR : errno);
  }
  if (!S_ISREG(facts.st_mode)) {
    throw FileFailure(input.displayName(), "not a regular file; - filters the standard input");
  }
}

class ReplaceCommand final : public Command {
 public:
  explicit ReplaceCommand(CLI::App* arguments) : Command(arguments) {
    arguments->add_option("--bytes", pattern_, "The bytes to look for")
        ->required()
        ->option_text("HEX")
        ->check(kHex);
    arguments
        ->add_option("--with", replacement_, "The bytes to put in their place; \"\" deletes them")
        ->required()
        ->option_text("HEX")
        ->check(kHex);
    arguments->add_option("FILE", paths_, "What to change; - filters the standard input")
        ->required();
    arguments->footer("Matches are taken from the front on. A file without one is not touched.");
  }

  int run() override {
    const std::vector<std::byte> pattern = bytesOfHex(pattern_);
    if (pattern.empty()) {
      printFailure("there are no bytes to look for");
      return kUsedWrongly;
    }
    const std::vector<std::byte> replacement = bytesOfHex(replacement_);
    MatchWalk walk(pattern);
    return forEachArgument(paths_, [&](const std::string& path) {
      path == "-" ? filter(walk, replacement) : change(path, walk, replacement);
    });
  }

 private:
  static void report(std::FILE* stream, const std::string& name, std::uint64_t count) {
    std::fprintf(stream, "%s: %s\n", name.c_str(), counted(count, "replacement").c_str());
  }

  static std::uint64_t replace(InputFile& input, OutputFile& output, MatchWalk& walk,
                               Bytes replacement) {
    std::uint64_t count = 0;
    walk.run(
        input, [&](Bytes kept) { output.write(kept); },
        [&] {
          output.write(replacement);
          ++count;
          return true;
        });
    output.commit();
    return count;
  }

  static void filter(MatchWalk& walk, Bytes replacement) {
    InputFile input("-");
    OutputFile output("-");
    report(stderr, input.displayName(), replace(input, output, walk, replacement));
  }

  static void change(const std::string& path, MatchWalk& walk, Bytes replacement) {
    InputFile input(path);
    refuseIrregular(input);
    std::uint64_t count = 0;
    if (hasMatch(input, walk) && input.rewind()) {
      OutputFile output(path);
      count = replace(input, output, walk, replacement);
    }
    report(stdout, input.displayName(), count);
  }

  static bool hasMatch(InputFile& input, MatchWalk& walk) {
    bool isFound = false;
    walk.run(
        input, [](Bytes) {},
        [&] {
          isFound = true;
          return false;
        });
    return isFound;
  }

  std::string pattern_;
  std::string replacement_;
  std::vector<std::string> paths_;
};

}  // namespace

void addReplaceCommand(CLI::App& app, Commands& commands) {
  commands.push_back(
      std::make_unique<ReplaceCommand>(app.add_subcommand("replace", "Replace bytes in files")));
}

}  // namespace kestova::tool
