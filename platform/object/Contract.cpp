// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Contract.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace kestova {
namespace {

/// The file's name alone: no folder of the machine that built the library is ever printed.
std::string_view unitOf(std::string_view file) {
  file.remove_prefix(file.rfind('/') + 1);
  return file.substr(0, file.rfind('.'));
}

}  // namespace

void failContract(const char* message, SourcePlace where) {
  const std::string_view unit = unitOf(where.file);
  std::fprintf(stderr, "Assertion failure in %s, %.*s:%u: %s\n", where.function,
               static_cast<int>(unit.size()), unit.data(), where.line, message);
  std::abort();
}

}  // namespace kestova
