// SPDX-License-Identifier: Apache-2.0
#include "HelpFormatter.h"

#include <memory>
#include <string_view>
#include <utility>

namespace kestova::tool {
namespace {

constexpr std::string_view kExitStatusMark = "Exit status:";

}  // namespace

std::string placeholderOf(const CLI::Option& option) {
  if (!option.get_option_text().empty()) {
    return option.get_option_text();
  }
  if (!option.get_positional()) {
    return option.get_type_name();
  }
  const bool isMany = option.get_expected_max() >= CLI::detail::expected_max_vector_size;
  const std::string name = option.get_name(true, false) + (isMany ? "..." : "");
  return option.get_required() ? name : '[' + name + ']';
}

HelpFormatter::HelpFormatter(std::string words) : words_(std::move(words)) {}

std::string HelpFormatter::make_usage(const CLI::App* app, std::string name) const {
  std::string usage = Formatter::make_usage(app, std::move(name));
  if (!words_.empty()) {
    usage.insert(usage.find_last_not_of('\n') + 1, ' ' + words_);
  }
  return usage;
}

std::string HelpFormatter::make_footer(const CLI::App* app) const {
  const std::string own = Formatter::make_footer(app);
  const bool tellsStatus = own.find(kExitStatusMark) != std::string::npos;
  return tellsStatus ? own : own + std::string(kExitStatusMark) + ' ' + kExitStatus + '\n';
}

std::string HelpFormatter::make_option_name(const CLI::Option* option, bool isPositional) const {
  return isPositional ? placeholderOf(*option) : Formatter::make_option_name(option, false);
}

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const {
  if (option->get_positional()) {
    return "";
  }
  const bool lacksMark = !option->get_option_text().empty() && option->get_required();
  return Formatter::make_option_opts(option) + (lacksMark ? " REQUIRED" : "");
}

std::string HelpFormatter::make_option_usage(const CLI::Option* option) const {
  return placeholderOf(*option);
}

void setWords(CLI::App& command, const std::string& words) {
  command.prefix_command();
  command.formatter(std::make_shared<HelpFormatter>(words));
}

std::string wordsOf(const CLI::App& command) {
  const auto formatter = std::dynamic_pointer_cast<HelpFormatter>(command.get_formatter());
  return formatter ? formatter->words() : "";
}

}  // namespace kestova::tool
