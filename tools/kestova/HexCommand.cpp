// SPDX-License-Identifier: Apache-2.0
#include "ByteCommands.h"

#include "FileFailure.h"
#include "InputFile.h"
#include "OutputFile.h"

#include <KestovaPlatform/HexCoding.h>
#include <KestovaPlatform/UTF8.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kestova::tool {
namespace {

using Bytes = std::span<const std::byte>;

std::string_view textOf(Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Hands text in UTF-8 that comes in pieces on as UTF-16 units. What is not well-formed throws
/// FileFailure.
class UnitPieces {
 public:
  explicit UnitPieces(const InputFile& input) : input_(input) {}

  template <class Consume>
  void add(std::string_view piece, Consume&& consume) {
    text_.append(piece);
    const std::size_t whole = wellFormedLengthOfUTF8(text_);
    if (text_.size() - whole >= kLongestCharacter) {
      fail();
    }
    units_.resize(whole + 1);
    const UTF16Piece read = writeUTF16({text_.data(), whole}, units_);
    consume(std::u16string_view(units_.data(), read.unitsWritten));
    text_.erase(0, whole);
  }

  void finish() const {
    if (!text_.empty()) {
      fail();
    }
  }

 private:
  static constexpr std::size_t kLongestCharacter = 4;

  [[noreturn]] void fail() const { throw FileFailure(input_.displayName(), "not UTF-8 text"); }

  const InputFile& input_;
  std::string text_;  // at the end of a piece a character that was cut, if any
  std::vector<char16_t> units_;
};

void refuseCount(const InputFile& input, std::uint64_t count, const char* what) {
  if (count == 0 || count % 2 != 0) {
    throw FileFailure(input.displayName(),
                      std::string(count == 0 ? "no " : "an odd number of ") + what);
  }
}

class HexCommand final : public Command {
 public:
  explicit HexCommand(CLI::App* arguments) : Command(arguments) {
    arguments->add_option("FILE", path_, "What to read; - or nothing is the standard input");
    auto* decodes = arguments->add_flag("-d,--decode", decodes_, "Turn hex digits into bytes");
    arguments
        ->add_flag("--lenient", isLenient_,
                   "Read any two characters as a byte, what is no digit as 0")
        ->needs(decodes);
    arguments->footer(
        "Reading digits passes over everything else. An odd number of them is an error.");
  }

  int run() override {
    InputFile input(path_);
    OutputFile output("-");
    if (!decodes_) {
      encode(input, output);
    } else if (isLenient_) {
      decodeLeniently(input, output);
    } else {
      decode(input, output);
    }
    output.commit();
    return kSucceeded;
  }

 private:
  static void encode(InputFile& input, OutputFile& output) {
    input.forEachPiece([&](Bytes piece) { output.write(hexText(piece)); });
    output.write("\n");
  }

  static void decode(InputFile& input, OutputFile& output) {
    HexReader reader;
    std::vector<std::byte> bytes;
    input.forEachPiece([&](Bytes piece) {
      bytes.resize(piece.size() / 2 + 1);
      output.write(Bytes(bytes.data(), reader.read(textOf(piece), bytes.data())));
    });
    refuseCount(input, reader.digits(), "hex digits");
  }

  static void decodeLeniently(InputFile& input, OutputFile& output) {
    LenientHexReader reader;
    std::vector<std::byte> bytes;
    UnitPieces pieces(input);
    input.forEachPiece([&](Bytes piece) {
      pieces.add(textOf(piece), [&](std::u16string_view units) {
        bytes.resize(units.size() / 2 + 1);
        output.write(Bytes(bytes.data(), reader.read(units, bytes.data())));
      });
    });
    pieces.finish();
    refuseCount(input, reader.characters(), "characters");
  }

  std::string path_ = "-";
  bool decodes_ = false;
  bool isLenient_ = false;
};

}  // namespace

void addHexCommand(CLI::App& app, Commands& commands) {
  commands.push_back(
      std::make_unique<HexCommand>(app.add_subcommand("hex", "Show a file as hex, or read hex")));
}

}  // namespace kestova::tool
