// SPDX-License-Identifier: Apache-2.0
#include "ByteCommands.h"

#include "ChecksumList.h"
#include "FileFailure.h"
#include "InputFile.h"
#include "OutputFile.h"

#include <KestovaPlatform/HexCoding.h>
#include <KestovaPlatform/MessageDigest.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kestova::tool {
namespace {

std::string sumOf(const std::string& path) {
  InputFile input(path);
  MD5Digest digest;
  input.forEachPiece([&](std::span<const std::byte> piece) { digest.update(piece); });
  return hexText(digest.finish());
}

/// Hands on the lines of a file without their line feeds. One that is too long for any name is
/// handed on as an empty one.
template <class Consume>
void forEachLine(InputFile& input, Consume&& consume) {
  constexpr std::size_t kLongestLine = std::size_t{64} << 10;
  std::string line;
  const auto finish = [&] {
    consume(line.size() > kLongestLine ? std::string_view() : std::string_view(line));
    line.clear();
  };
  input.forEachPiece([&](std::span<const std::byte> piece) {
    std::string_view text(reinterpret_cast<const char*>(piece.data()), piece.size());
    for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos;) {
      line.append(text.substr(0, end));
      finish();
      text.remove_prefix(end + 1);
    }
    line.append(text.substr(0, line.size() > kLongestLine ? 0 : text.size()));
  });
  if (!line.empty()) {
    finish();
  }
}

/// What checking a list has come upon.
struct CheckCounts {
  std::size_t proper = 0;
  std::size_t improper = 0;
  std::size_t unreadable = 0;
  std::size_t mismatched = 0;
};

/// Prints one of two forms of a warning, if there is anything to warn of.
void warn(std::size_t count, const char* one, const char* several) {
  if (count > 0) {
    printFailure("WARNING: " + std::to_string(count) + (count == 1 ? one : several));
  }
}

class MD5Command final : public Command {
 public:
  explicit MD5Command(CLI::App* arguments) : Command(arguments) {
    arguments->add_option("FILE", paths_, "What to read; - or nothing is the standard input");
    arguments->add_flag("-c,--check", checks_, "Read lists of sums and names, and check the files");
  }

  int run() override {
    if (paths_.empty()) {
      paths_ = {"-"};
    }
    OutputFile output("-");
    bool isAllWell = true;
    for (const std::string& path : paths_) {
      try {
        isAllWell &= checks_ ? checkList(path, output) : printSum(path, output);
      } catch (const FileFailure& failure) {
        printFailure(failure.what());
        isAllWell = false;
      }
    }
    output.commit();
    return isAllWell ? kSucceeded : kFailed;
  }

 private:
  static bool printSum(const std::string& path, OutputFile& output) {
    output.write(checksumLine(sumOf(path), path));
    return true;
  }

  static bool checkList(const std::string& path, OutputFile& output) {
    InputFile input(path);
    ChecksumListReader reader;
    CheckCounts counts;
    forEachLine(input, [&](std::string_view line) {
      if (!line.starts_with('#')) {
        check(reader.read(line), counts, output);
      }
    });
    if (counts.proper == 0) {
      throw FileFailure(input.displayName(), "no properly formatted checksum lines found");
    }
    warn(counts.improper, " line is improperly formatted", " lines are improperly formatted");
    warn(counts.unreadable, " listed file could not be read", " listed files could not be read");
    warn(counts.mismatched, " computed checksum did NOT match",
         " computed checksums did NOT match");
    return counts.unreadable == 0 && counts.mismatched == 0;
  }

  static void check(const std::optional<ListedChecksum>& listed, CheckCounts& counts,
                    OutputFile& output) {
    if (!listed) {
      ++counts.improper;
      return;
    }
    ++counts.proper;
    output.write(shownName(listed->name) + ": " + verdict(*listed, counts) + "\n");
    output.flush();
  }

  static std::string verdict(const ListedChecksum& listed, CheckCounts& counts) {
    try {
      if (sumOf(listed.name) == listed.sum) {
        return "OK";
      }
      ++counts.mismatched;
      return "FAILED";
    } catch (const FileFailure& failure) {
      printFailure(failure.what());
      ++counts.unreadable;
      return "FAILED open or read";
    }
  }

  std::vector<std::string> paths_;
  bool checks_ = false;
};

}  // namespace

void addMD5Command(CLI::App& app, Commands& commands) {
  commands.push_back(
      std::make_unique<MD5Command>(app.add_subcommand("md5", "Print MD5 sums, or check them")));
}

}  // namespace kestova::tool
