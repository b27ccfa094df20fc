// SPDX-License-Identifier: Apache-2.0
#include "Completions.h"

#include <ostream>
#include <string>
#include <string_view>

namespace kestova::manual {
namespace {

template <class Visit>
void visitCommands(const ExplainedCommand& command, const Visit& visit) {
  visit(command);
  for (const auto& inner : command.commands) {
    visitCommands(inner, visit);
  }
}

std::vector<std::string> optionsOf(const ExplainedCommand& command) {
  std::vector<std::string> names;
  for (const auto& argument : command.arguments) {
    names.insert(names.end(), argument.shortNames.begin(), argument.shortNames.end());
    names.insert(names.end(), argument.longNames.begin(), argument.longNames.end());
  }
  return names;
}

/// The words that lead to a command, without the tool's own name: "format bytes".
std::string placeOf(const ExplainedCommand& command) {
  std::string place;
  for (std::size_t index = 1; index < command.path.size(); ++index) {
    place += (index > 1 ? " " : "") + command.path[index];
  }
  return place;
}

/// `text` with a backslash before each of the characters in `special`.
std::string escaped(std::string_view text, std::string_view special) {
  std::string result;
  for (const char character : text) {
    if (special.find(character) != special.npos) {
      result += '\\';
    }
    result += character;
  }
  return result;
}

/// A shell's word of any characters. A single quote can't stand in single quotes.
std::string shellWord(std::string_view text) {
  std::string result = "'";
  for (const char character : text) {
    result += character == '\'' ? std::string("'\\''") : std::string(1, character);
  }
  return result + "'";
}

}  // namespace

void writeBashCompletion(std::ostream& output, const ExplainedCommand& tool) {
  output << "# Completion of kestova for bash.\n"
            "_kestova_words() {\n"
            "  case \"$1\" in\n";
  visitCommands(tool, [&](const ExplainedCommand& command) {
    output << "    " << shellWord(placeOf(command)) << ") echo '";
    for (const auto& inner : command.commands) {
      output << inner.name << ' ';
    }
    for (const auto& name : optionsOf(command)) {
      output << name << ' ';
    }
    output << "' ;;\n";
  });
  output << "    *) return 1 ;;\n"
            "  esac\n"
            "}\n\n"
            "_kestova() {\n"
            "  local word place='' next\n"
            "  for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
            "    [ \"$word\" != -- ] || return 0\n"
            "    next=\"${place:+$place }$word\"\n"
            "    ! _kestova_words \"$next\" >/dev/null || place=$next\n"
            "  done\n"
            "  mapfile -t COMPREPLY < <(compgen -W \"$(_kestova_words \"$place\")\" -- "
            "\"${COMP_WORDS[COMP_CWORD]}\")\n"
            "}\n\n"
            "complete -o default -F _kestova kestova\n";
}

namespace {

std::string zshFunctionOf(const ExplainedCommand& command) {
  std::string name;
  for (const auto& word : command.path) {
    name += '_' + word;
  }
  return name;
}

void writeZshOption(std::ostream& output, const ExplainedArgument& argument,
                    const std::string& name) {
  const auto option =
      name + '[' + escaped(argument.description, "[]:\\") + ']' +
      (argument.value.empty() ? "" : ":" + escaped(argument.value, ":\\") + ":_files");
  output << "    " << shellWord(option) << " \\\n";
}

void writeZshCommands(std::ostream& output, const ExplainedCommand& command) {
  output << "    '1: :->command' '*:: :->rest' && return\n"
            "  case $state in\n"
            "    command)\n"
            "      local -a commands=(\n";
  for (const auto& inner : command.commands) {
    output << "        " << shellWord(inner.name + ':' + escaped(inner.description, ":\\")) << '\n';
  }
  output << "      )\n"
            "      _describe command commands ;;\n"
            "    rest)\n"
            "      case $words[1] in\n";
  for (const auto& inner : command.commands) {
    output << "        " << inner.name << ") " << zshFunctionOf(inner) << " ;;\n";
  }
  output << "      esac ;;\n"
            "  esac\n";
}

void writeZshFunction(std::ostream& output, const ExplainedCommand& command) {
  output << zshFunctionOf(command) << "() {\n"
         << "  local curcontext=$curcontext state line\n"
            "  _arguments -C \\\n";
  for (const auto& argument : command.arguments) {
    for (const auto& name : argument.shortNames) {
      writeZshOption(output, argument, name);
    }
    for (const auto& name : argument.longNames) {
      writeZshOption(output, argument, name);
    }
  }
  if (command.commands.empty()) {
    output << "    '*:file:_files'\n";
  } else {
    writeZshCommands(output, command);
  }
  output << "}\n\n";
}

}  // namespace

void writeZshCompletion(std::ostream& output, const ExplainedCommand& tool) {
  output << "#compdef kestova\n# Completion of kestova for zsh.\n\n";
  visitCommands(tool, [&](const ExplainedCommand& command) { writeZshFunction(output, command); });
  output << "_kestova \"$@\"\n";
}

namespace {

/// A condition that holds while a command is being typed: all of its words stand there already, and
/// none of those that lead further.
std::string fishConditionFor(const ExplainedCommand& command) {
  std::string condition;
  for (std::size_t index = 1; index < command.path.size(); ++index) {
    condition += "__fish_seen_subcommand_from " + command.path[index] + "; and ";
  }
  if (command.commands.empty()) {
    return condition + "true";
  }
  condition += "not __fish_seen_subcommand_from";
  for (const auto& inner : command.commands) {
    condition += ' ' + inner.name;
  }
  return condition;
}

/// A word in fish's single quotes, in which a backslash escapes.
std::string fishQuoted(std::string_view text) { return '\'' + escaped(text, "'\\") + '\''; }

void writeFishOption(std::ostream& output, const std::string& line,
                     const ExplainedArgument& argument) {
  output << line;
  for (const auto& name : argument.shortNames) {
    output << " -s " << name.substr(1);
  }
  for (const auto& name : argument.longNames) {
    output << " -l " << name.substr(2);
  }
  output << (argument.value.empty() ? "" : " -r") << " -d " << fishQuoted(argument.description)
         << '\n';
}

}  // namespace

void writeFishCompletion(std::ostream& output, const ExplainedCommand& tool) {
  output << "# Completion of kestova for fish.\n";
  visitCommands(tool, [&](const ExplainedCommand& command) {
    const auto line = "complete -c kestova -n " + fishQuoted(fishConditionFor(command));
    for (const auto& inner : command.commands) {
      output << line << " -f -a " << inner.name << " -d " << fishQuoted(inner.description) << '\n';
    }
    for (const auto& argument : command.arguments) {
      if (!argument.isPositional()) {
        writeFishOption(output, line, argument);
      }
    }
  });
}

}  // namespace kestova::manual
