// SPDX-License-Identifier: Apache-2.0
// Writes what explains the tool to people and shells, out of the tool's own description of its
// arguments: kestova-manual man|bash|zsh|fish
#include "Completions.h"
#include "ManualPage.h"
#include "Tool.h"

#include <cstdio>
#include <iostream>
#include <string_view>

int main(int argc, char** argv) {
  using namespace kestova::manual;
  kestova::tool::Tool tool;
  const auto explained = explain(tool.arguments());
  const std::string_view form = argc == 2 ? argv[1] : "";
  if (form == "man") {
    writeManualPage(std::cout, explained, KESTOVA_VERSION);
  } else if (form == "bash") {
    writeBashCompletion(std::cout, explained);
  } else if (form == "zsh") {
    writeZshCompletion(std::cout, explained);
  } else if (form == "fish") {
    writeFishCompletion(std::cout, explained);
  } else {
    std::fputs("usage: kestova-manual man|bash|zsh|fish\n", stderr);
    return 2;
  }
  return std::cout.flush() ? 0 : 1;
}
