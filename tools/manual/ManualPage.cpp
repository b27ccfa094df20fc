// SPDX-License-Identifier: Apache-2.0
#include "ManualPage.h"

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

/// The lines of a footer, each on a line of its own as the help shows them.
void writeLines(std::ostream& output, const std::string& text) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    output << (line.empty() ? ".PP" : plain(line) + "\n.br") << '\n';
  }
}

void writeArguments(std::ostream& output, const std::vector<ExplainedArgument>& arguments) {
  for (const auto& argument : arguments) {
    output << ".TP\n" << headingOf(argument) << '\n' << plain(argument.description) << '\n';
  }
}

std::string synopsisOf(const ExplainedCommand& command) {
  std::string synopsis = bold(joined(command.path, " "));
  for (const auto& argument : command.arguments) {
    if (argument.isPositional()) {
      synopsis += ' ' + italic(argument.value);
    }
  }
  return synopsis;
}

void writeCommand(std::ostream& output, const ExplainedCommand& command,
                  const std::string& common) {
  output << ".SS \"" << plain(joined(command.path, " ")) << "\"\n"
         << plain(command.description) << "\n.PP\n"
         << synopsisOf(command) << '\n';
  writeArguments(output, command.arguments);
  if (!command.footer.empty() && command.footer != common) {
    output << ".PP\n";
    writeLines(output, command.footer);
  }
  for (const auto& inner : command.commands) {
    writeCommand(output, inner, common);
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
  writeArguments(output, tool.arguments);
  output << ".SH COMMANDS\n";
  for (const auto& command : tool.commands) {
    writeCommand(output, command, tool.footer);
  }
  output << ".SH EXIT STATUS\n";
  writeLines(output, tool.footer);
  output << ".SH ENVIRONMENT\n"
            ".TP\nTERM\n"
            "Where it is dumb or nothing, progress is told in plain lines.\n"
            ".TP\nNO_COLOR\n"
            "Nothing is ever coloured, with or without it.\n";
}

}  // namespace kestova::manual
