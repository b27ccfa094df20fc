// SPDX-License-Identifier: Apache-2.0
#include "TextCommand.h"

#include "InputFile.h"
#include "JSONLine.h"
#include "ReportCommand.h"
#include "TextFigures.h"

#include <KestovaPlatform/NSString.h>

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

namespace kestova::tool {
namespace {

const char* nameOf(OVLineEnding ending) {
  return ending == OVLineEndingCRLF ? "CRLF" : ending == OVLineEndingCR ? "CR" : "LF";
}

std::string nameOf(CFStringEncoding encoding) {
  return *CFStringConvertEncodingToIANACharSetName(encoding)->UTF8String();
}

void printRow(const std::string& file, const TextFigures& figures) {
  std::printf("%-10s %-4s %10llu lines %10llu words %12llu bytes  %s\n",
              nameOf(figures.encoding).c_str(), nameOf(figures.lineEnding),
              static_cast<unsigned long long>(figures.lines),
              static_cast<unsigned long long>(figures.words),
              static_cast<unsigned long long>(figures.bytes), file.c_str());
}

void printObject(const std::string& file, const TextFigures& figures) {
  printJSONLine({{"file", file},
                 {"encoding", nameOf(figures.encoding)},
                 {"encodingNumber", figures.encoding},
                 {"lineEnding", nameOf(figures.lineEnding)},
                 {"lines", figures.lines},
                 {"words", figures.words},
                 {"bytes", figures.bytes}});
}

class TextCommand final : public ReportCommand {
 public:
  explicit TextCommand(CLI::App* arguments)
      : ReportCommand(arguments, "FILE", "Text files; - is the standard input") {
    arguments->footer(
        "The line ending is that of the last line. Lines and words are counted as the library's\n"
        "lineCount and wordCount count them.");
  }

 private:
  void show(const std::string& path) const override {
    InputFile file(path);
    const TextFigures figures = figuresOf(file);
    isJSON() ? printObject(path, figures) : printRow(file.displayName(), figures);
  }
};

}  // namespace

void addTextCommand(CLI::App& app, Commands& commands) {
  commands.push_back(std::make_unique<TextCommand>(app.add_subcommand(
      "text", "Tell the encoding, line ending, lines, words and size of text files")));
}

}  // namespace kestova::tool
