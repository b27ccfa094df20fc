// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace kestova::tool {

/// What the exit status of every command means that doesn't say otherwise.
inline constexpr const char* kExitStatus = "0 success, 1 failure, 2 wrong use, 130 interrupted.";

/// What stands for a positional argument, "FILE...", in brackets where it may be missing; or for
/// the value of an option, "N".
std::string placeholderOf(const CLI::Option& option);

/// Writes the help of the tool and its commands: usage in placeholders, each explained below, and
/// the exit status at the end.
class HelpFormatter final : public CLI::Formatter {
 public:
  /// `words` stands in the usage of a command that reads its arguments by itself.
  explicit HelpFormatter(std::string words = "");

  const std::string& words() const { return words_; }

  std::string make_usage(const CLI::App* app, std::string name) const override;
  std::string make_footer(const CLI::App* app) const override;
  std::string make_option_name(const CLI::Option* option, bool isPositional) const override;
  std::string make_option_opts(const CLI::Option* option) const override;
  std::string make_option_usage(const CLI::Option* option) const override;

 private:
  std::string words_;
};

/// Gives a command that reads its arguments by itself what stands for them in its help.
void setWords(CLI::App& command, const std::string& words);

/// What `setWords` gave; empty without it.
std::string wordsOf(const CLI::App& command);

}  // namespace kestova::tool
