// SPDX-License-Identifier: Apache-2.0
#include "ByteCommands.h"

#include "FileFailure.h"
#include "InputFile.h"
#include "OutputFile.h"

#include <KestovaPlatform/Base32Coding.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace kestova::tool {
namespace {

using Bytes = std::span<const std::byte>;

class Base32Command final : public Command {
 public:
  explicit Base32Command(CLI::App* arguments) : Command(arguments) {
    arguments->add_option("FILE", path_, "What to read; - or nothing is the standard input");
    arguments->add_flag("-d,--decode", decodes_, "Turn symbols into bytes");
    arguments->footer(
        "The symbols are 0-9 and A-Z without I, L, O and U, the lowest bits first. Reading takes\n"
        "both cases and passes over line ends, blanks and hyphens.");
  }

  int run() override {
    InputFile input(path_);
    OutputFile output("-");
    decodes_ ? decode(input, output) : encode(input, output);
    output.commit();
    return kSucceeded;
  }

 private:
  static constexpr std::size_t kBytesOfGroup = 5;

  /// A text is written in pieces of whole groups: what is left of one goes before the next.
  static void encode(InputFile& input, OutputFile& output) {
    std::vector<std::byte> waiting;
    input.forEachPiece([&](Bytes piece) {
      waiting.insert(waiting.end(), piece.begin(), piece.end());
      const std::size_t whole = waiting.size() / kBytesOfGroup * kBytesOfGroup;
      output.write(base32Text(Bytes(waiting).first(whole)));
      waiting.erase(waiting.begin(), waiting.begin() + static_cast<std::ptrdiff_t>(whole));
    });
    output.write(base32Text(waiting));
    output.write("\n");
  }

  static void decode(InputFile& input, OutputFile& output) {
    Base32Reader reader;
    std::uint64_t offset = 0;
    std::vector<std::byte> bytes;
    input.forEachPiece([&](Bytes piece) {
      bytes.resize(piece.size() / 8 * kBytesOfGroup + kBytesOfGroup);
      const Base32Piece read =
          reader.read({reinterpret_cast<const char*>(piece.data()), piece.size()}, bytes.data());
      output.write(Bytes(bytes.data(), read.bytesWritten));
      offset += read.charactersRead;
      if (read.charactersRead < piece.size()) {
        throw FileFailure(input.displayName(), "no symbol at byte " + std::to_string(offset));
      }
    });
  }

  std::string path_ = "-";
  bool decodes_ = false;
};

}  // namespace

void addBase32Command(CLI::App& app, Commands& commands) {
  commands.push_back(std::make_unique<Base32Command>(
      app.add_subcommand("base32", "Show a file in 32 symbols, or read them")));
}

}  // namespace kestova::tool
