// SPDX-License-Identifier: Apache-2.0
#include "ConvertCommand.h"

#include "FileFailure.h"
#include "InputFile.h"
#include "LineEndings.h"
#include "OutputFile.h"

#include <KestovaFoundation/OVStringEncodingGuess.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/TextDecoder.h>
#include <KestovaPlatform/TextEncoder.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kestova::tool {
namespace {

constexpr std::size_t kPieceSize = std::size_t{256} << 10;

/// Ends the command over something that it was told wrongly.
class WrongUse : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

std::string nameOf(CFStringEncoding encoding) {
  return CFStringConvertEncodingToIANACharSetName(encoding)->displayUTF8();
}

CFStringEncoding encodingNamed(const std::string& name) {
  const auto encoding = CFStringConvertIANACharSetNameToEncoding(name);
  if (encoding == kCFStringEncodingInvalidId) {
    throw WrongUse("there is no encoding " + name);
  }
  return encoding;
}

/// Whether nothing but a byte-order mark tells how the bytes are to be read.
bool needsMark(CFStringEncoding encoding) {
  return encoding == kCFStringEncodingUTF16 || encoding == kCFStringEncodingUTF32;
}

CFStringEncoding guessedEncoding(InputFile& input) {
  input.makeRewindable();
  OVStringEncodingGuess guess;
  std::vector<std::byte> buffer(kPieceSize);
  for (std::size_t count = buffer.size(); count == buffer.size() && !guess.isSettled();) {
    count = input.read(buffer);
    guess.addBytes(std::span(buffer).first(count));
  }
  input.rewind();
  return guess.encoding();
}

const std::map<std::string, std::u16string>& lineEndings() {
  static const std::map<std::string, std::u16string> all = {
      {"lf", u"\n"}, {"cr", u"\r"}, {"crlf", u"\r\n"}};
  return all;
}

struct ConvertOptions {
  std::string from = "auto";
  std::string to;
  bool addsMark = false;
  bool isLossy = false;
  std::string lineEndings;
  std::string input;
  std::string output;
};

/// Reads a text in one encoding and writes it in another. What cannot be read or written throws
/// FileFailure, unless losses are allowed.
class Conversion {
 public:
  Conversion(InputFile& input, OutputFile& output, CFStringEncoding from, CFStringEncoding to,
             const ConvertOptions& options)
      : input_(input),
        output_(output),
        from_(from),
        to_(to),
        isLossy_(options.isLossy),
        decoder_(*TextDecoder::decoderForEncoding(from, LeadingMark::kIsNotPartOfText)),
        encoder_(*TextEncoder::encoderForEncoding(to)) {
    if (!options.lineEndings.empty()) {
      endings_.emplace(lineEndings().at(options.lineEndings));
    }
    if (options.addsMark || needsMark(to)) {
      encode(u"\uFEFF");
    }
  }

  void run() {
    input_.forEachPiece([&](std::span<const std::byte> piece) {
      pending_.append(reinterpret_cast<const char*>(piece.data()), piece.size());
      decodePending(TextInput::kGoesOn);
    });
    decodePending(TextInput::kEnds);
    output_.write(std::string_view(bytes_.data(), encoder_.close(bytes_)));
  }

  std::uint64_t lostCharacters() const { return lost_; }

 private:
  void decodePending(TextInput input) {
    std::string_view rest = pending_;
    DecodedPiece piece;
    do {
      piece = decoder_.decode(rest, units_, input);
      rest.remove_prefix(piece.bytesRead);
      bytesRead_ += piece.bytesRead;
      const std::u16string_view units(units_.data(), piece.unitsWritten);
      write(endings_ ? endings_->replaced(units) : units);
    } while (piece.end == ConversionEnd::kBufferFull);
    if (piece.end == ConversionEnd::kRefused) {
      refuseBytes(bytesRead_ - piece.refusedBytes);
    }
    pending_.erase(0, pending_.size() - rest.size());
  }

  /// Decoders give whole characters only, so that nothing of the units is left for later.
  void write(std::u16string_view units) {
    while (!units.empty()) {
      const EncodedPiece piece = encode(units);
      const auto written = units.substr(0, piece.unitsRead - piece.refusedUnits);
      position_.advance(written);
      const auto refused = units.substr(written.size(), piece.refusedUnits);
      if (!refused.empty()) {
        lose(refused);
        position_.advance(refused);
      }
      units.remove_prefix(piece.unitsRead);
    }
  }

  EncodedPiece encode(std::u16string_view units) {
    const EncodedPiece piece = encoder_.encode(units, bytes_, TextInput::kEnds);
    output_.write(std::string_view(bytes_.data(), piece.bytesWritten));
    return piece;
  }

  void lose(std::u16string_view character) {
    if (!isLossy_) {
      refuseCharacter(character);
    }
    encode(u"?");
    ++lost_;
  }

  [[noreturn]] void refuseBytes(std::uint64_t offset) const {
    throw FileFailure(input_.displayName(),
                      "malformed " + nameOf(from_) + " at byte offset " + std::to_string(offset));
  }

  [[noreturn]] void refuseCharacter(std::u16string_view character) const {
    const std::uint32_t value =
        character.size() == 1 ? std::uint32_t{character[0]}
                              : 0x10000 + ((character[0] & 0x3FFU) << 10) + (character[1] & 0x3FFU);
    const auto reason =
        NSString::stringWithFormat("line %llu, column %llu: %@ has no U+%04X", position_.line(),
                                   position_.column(), Ref<NSString>(nameOf(to_)), value);
    throw FileFailure(input_.displayName(), reason->displayUTF8());
  }

  InputFile& input_;
  OutputFile& output_;
  CFStringEncoding from_;
  CFStringEncoding to_;
  bool isLossy_;
  TextDecoder decoder_;
  TextEncoder encoder_;
  std::optional<LineEndings> endings_;
  TextPosition position_;
  std::uint64_t bytesRead_ = 0;
  std::uint64_t lost_ = 0;
  std::string pending_;
  std::vector<char16_t> units_ = std::vector<char16_t>(kPieceSize);
  std::vector<char> bytes_ = std::vector<char>(kPieceSize);
};

class ConvertCommand final : public Command {
 public:
  explicit ConvertCommand(CLI::App* arguments) : Command(arguments) {
    arguments->add_option("--from", options_.from, "The input's encoding; auto guesses it")
        ->option_text("ENC (auto)");
    arguments->add_option("--to", options_.to, "The output's encoding")
        ->required()
        ->option_text("ENC");
    arguments->add_flag("--bom", options_.addsMark, "Begin with a byte-order mark");
    arguments->add_option("--line-endings", options_.lineEndings, "End every line the same way")
        ->check(CLI::IsMember(lineEndings()))
        ->option_text("lf|cr|crlf");
    arguments->add_flag("--lossy", options_.isLossy,
                        "Put ? for what the output's encoding does not have");
    arguments->add_option("IN", options_.input, "What to read; - is the standard input")
        ->required();
    arguments->add_option("OUT", options_.output, "What to write; - is the standard output")
        ->required();
    arguments->footer(
        "ENC is a name as utf-8, utf-16le, iso-8859-1, windows-1252, macintosh or shift_jis.\n"
        "A byte-order mark of the input is not carried over; utf-16 and utf-32 always get one.\n"
        "Malformed input stops the conversion, and so does a character that the output's encoding\n"
        "does not have, unless --lossy is given. OUT is complete, or as it was before.");
  }

  int run() override {
    try {
      return convert();
    } catch (const WrongUse& error) {
      printFailure(error.what());
      return kUsedWrongly;
    }
  }

 private:
  int convert() {
    const CFStringEncoding to = encodingNamed(options_.to);
    if (options_.addsMark && byteOrderMarkOfEncoding(to).empty()) {
      throw WrongUse(nameOf(to) + " has no byte-order mark");
    }
    const bool guesses = options_.from == "auto";
    const auto named = guesses ? kCFStringEncodingInvalidId : encodingNamed(options_.from);
    InputFile input(options_.input);
    const CFStringEncoding from = guesses ? guessedEncoding(input) : named;
    OutputFile output(options_.output);
    Conversion conversion(input, output, from, to, options_);
    conversion.run();
    output.commit();
    reportLoss(input, conversion.lostCharacters());
    return kSucceeded;
  }

  static void reportLoss(const InputFile& input, std::uint64_t count) {
    if (count > 0) {
      printFailure(input.displayName() + ": " + std::to_string(count) +
                   (count == 1 ? " character was" : " characters were") + " replaced by ?");
    }
  }

  ConvertOptions options_;
};

}  // namespace

void addConvertCommand(CLI::App& app, Commands& commands) {
  commands.push_back(std::make_unique<ConvertCommand>(
      app.add_subcommand("convert", "Convert a text to another encoding or line ending")));
}

}  // namespace kestova::tool
