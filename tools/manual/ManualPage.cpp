// SPDX-License-Identifier: Apache-2.0
#include "ManualPage.h"

#include "HelpFormatter.h"

#include <algorithm>
#include <ostream>
#include <sstream>
#include <string>

namespace kestova::manual {
namespace {

/// Text that troff prints as it stands: no line of it is a request, no character of it an escape.
std::string plain(std::string_view text) {
  std::string escaped;
  for (const char character : text) {
    const bool startsLine = escaped.empty() || escaped.back() == '\n';
    if (startsLine && (character == '.' || character == '\'')) {
      escaped += "\\&";
    }
    switch (character) {
      case '\\':
        escaped += "\\e";
        break;
      case '-':
        escaped += "\\-";
        break;
      case '~':
        escaped += "\\(ti";
        break;
      case '^':
        escaped += "\\(ha";
        break;
      default:
        escaped += character;
    }
  }
  return escaped;
}

std::string bold(std::string_view text) { return "\\fB" + plain(text) + "\\fR"; }
std::string italic(std::string_view text) { return "\\fI" + plain(text) + "\\fR"; }

std::string joined(const std::vector<std::string>& words, std::string_view between) {
  std::string text;
  for (const auto& word : words) {
    text += text.empty() ? word : std::string(between) + word;
  }
  return text;
}

std::string headingOf(const ExplainedArgument& argument) {
  std::vector<std::string> names;
  for (const auto& name : argument.shortNames) {
    names.push_back(bold(name));
  }
  for (const auto& name : argument.longNames) {
    names.push_back(bold(name));
  }
  if (!argument.value.empty()) {
    const auto value = italic(argument.value);
    if (names.empty()) {
      return value;
    }
    names.back() += ' ' + value;
  }
  return joined(names, ", ");
}

/// A footer: its sentences go on where the help breaks them, what it sets apart stays so.
void writeLines(std::ostream& output, const std::string& text) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const bool isWhole = line.ends_with('.') || line.starts_with(' ');
    output << (line.empty() ? ".PP" : plain(line) + (isWhole ? "\n.br" : "")) << '\n';
  }
}

bool isHelp(const ExplainedArgument& argument) {
  return !argument.longNames.empty() && argument.longNames.front() == "--help";
}

void writeArgument(std::ostream& output, const ExplainedArgument& argument) {
  output << ".TP\n" << headingOf(argument) << '\n' << plain(argument.description) << '\n';
}

std::string synopsisOf(const ExplainedCommand& command) {
  const bool hasOptions = std::ranges::any_of(command.arguments, [](const auto& argument) {
    return !argument.isPositional() && !isHelp(argument);
  });
  std::string synopsis = bold(joined(command.path, " "));
  synopsis += hasOptions ? " [" + italic("OPTION") + "...]" : "";
  for (const auto& argument : command.arguments) {
    synopsis += argument.isPositional() ? ' ' + italic(argument.value) : "";
  }
  synopsis += command.words.empty() ? "" : ' ' + italic(command.words);
  return command.commands.empty() ? synopsis : synopsis + ' ' + italic("COMMAND");
}

/// A command's options are its own: --help is told once, with the tool's. `common` is what the
/// command around it has said already at the end of its own footer.
void writeCommand(std::ostream& output, const ExplainedCommand& command, std::string_view common) {
  output << ".SS \"" << plain(joined(command.path, " ")) << "\"\n"
         << plain(command.description) << "\n.PP\n"
         << synopsisOf(command) << '\n';
  for (const auto& argument : command.arguments) {
    if (!isHelp(argument)) {
      writeArgument(output, argument);
    }
  }
  std::string_view own = command.footer;
  own.remove_suffix(own.ends_with(common) ? common.size() : 0);
  if (!own.empty()) {
    output << ".PP\n";
    writeLines(output, std::string(own));
  }
  for (const auto& inner : command.commands) {
    writeCommand(output, inner, command.footer);
  }
}

}  // namespace

void writeManualPage(std::ostream& output, const ExplainedCommand& tool, std::string_view version) {
  output << ".TH "
         << "KESTOVA 1 \"\" \"kestova " << version << "\" \"User Commands\"\n"
         << ".SH NAME\n"
         << plain(tool.name) << " \\- copy, convert, format and share from a shell\n"
         << ".SH SYNOPSIS\n"
         << bold(tool.name) << ' ' << italic("COMMAND") << " [" << italic("OPTION") << "...] ["
         << italic("ARGUMENT") << "...]\n"
         << ".SH DESCRIPTION\n"
         << plain(tool.description) << '\n'
         << ".SH OPTIONS\n";
  for (const auto& argument : tool.arguments) {
    writeArgument(output, argument);
  }
  output << ".SH COMMANDS\n";
  for (const auto& command : tool.commands) {
    writeCommand(output, command, "");
  }
  output << ".SH EXIT STATUS\n";
  writeLines(output, tool::kExitStatus);
  output << ".SH ENVIRONMENT\n"
            ".TP\nTERM\n"
            "Where it is dumb or nothing, progress is told in plain lines.\n"
            ".TP\nNO_COLOR\n"
            "Nothing is ever coloured, with or without it.\n";
}

}  // namespace kestova::manual
