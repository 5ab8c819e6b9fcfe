#include "tool/cli/completions.h"

#include <string_view>

namespace zforms::tool {
namespace {

std::string Joined(const std::vector<std::string>& parts, std::string_view separator) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : std::string(separator)) + part;
  return text;
}

// The names of the options of a command.
std::string OptionNames(const CommandPage& page) {
  std::vector<std::string> names;
  for (const OptionPage& option : page.options) {
    if (!option.is_argument) names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return Joined(names, " ");
}

std::string CommandNames(const std::vector<CommandPage>& pages, std::string_view separator) {
  std::vector<std::string> names;
  for (const CommandPage& page : pages) {
    if (!page.name.empty()) names.push_back(page.name);
  }
  return Joined(names, separator);
}

// A text in single quotes for a shell. `apostrophe` replaces a single quote inside it: in fish \', in other shells
// '\'', which ends the quotes, adds a quote and begins new quotes.
std::string Quoted(const std::string& text, std::string_view apostrophe) {
  std::string out = "'";
  for (const char c : text) {
    if (c == '\'') {
      out += apostrophe;
    } else {
      out += c;
    }
  }
  return out + "'";
}

// The text with a backslash before each of the characters in `before`.
std::string WithBackslashes(const std::string& text, std::string_view before) {
  std::string out;
  for (const char c : text) {
    if (before.find(c) != std::string_view::npos) out += '\\';
    out += c;
  }
  return out;
}

std::string ZshOption(const OptionPage& option) {
  // The names are outside of the quotes, so that zsh expands {-o,--output}.
  std::string line = "        ";
  std::vector<std::string> names;
  for (const std::string& name : option.names) {
    names.push_back(name + (name.starts_with("--") && !option.value.empty() ? "=" : ""));
  }
  if (names.size() > 1) {
    line += Quoted("(" + Joined(option.names, " ") + ")", "'\\''") + "{" + Joined(names, ",") + "}";
  } else {
    line += names.front();
  }
  std::string rest = "[" + WithBackslashes(option.text, "[]\\") + "]";
  if (!option.value.empty()) {
    rest += ":" + option.value + ":" + (option.choices.empty() ? "_files" : "(" + Joined(option.choices, " ") + ")");
  }
  return line + Quoted(rest, "'\\''") + " \\\n";
}

std::string FishOption(const OptionPage& option, const std::string& command) {
  std::string line = "complete -c zforms";
  if (!command.empty()) line += " -n '__fish_seen_subcommand_from " + command + "'";
  for (const std::string& name : option.names) {
    line += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  }
  if (!option.choices.empty()) {
    line += " -x -a '" + Joined(option.choices, " ") + "'";
  } else if (!option.value.empty()) {
    line += " -r -F";
  }
  return line + " -d " + Quoted(WithBackslashes(option.text, "\\"), "\\'") + "\n";
}

}  // namespace

std::string BashCompletion(const std::vector<CommandPage>& pages) {
  std::string values, options;
  for (const CommandPage& page : pages) {
    if (page.name.empty()) continue;
    options += "    " + page.name + ") words='" + OptionNames(page) + "' ;;\n";
    for (const OptionPage& option : page.options) {
      if (option.is_argument || option.value.empty()) continue;
      std::vector<std::string> patterns;
      for (const std::string& name : option.names) patterns.push_back(page.name + "," + name);
      values += "    " + Joined(patterns, " | ") + ") words='" + Joined(option.choices, " ") + "' is_value=1 ;;\n";
    }
  }
  return "# Completes the command line of zforms in bash.\n_zforms() {\n"
         "  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} command= words= is_value= "
         "word\n"
         "  for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
         "    case $word in " +
         CommandNames(pages, " | ") +
         ") command=$word && break ;; esac\n"
         "  done\n"
         "  case $command,$previous in\n" +
         values +
         "  esac\n"
         "  [ -n \"$is_value\" ] || case $command in\n"
         "    '') words='" +
         CommandNames(pages, " ") + " " + OptionNames(pages.front()) + "' ;;\n" + options +
         "  esac\n"
         "  COMPREPLY=()\n"
         "  # Without words bash completes the names of files.\n"
         "  if [ -n \"$is_value$current\" ] || [ -z \"$command\" ]; then\n"
         "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
         "  fi\n"
         "}\ncomplete -o default -F _zforms zforms\n";
}

std::string ZshCompletion(const std::vector<CommandPage>& pages) {
  std::string commands, cases, own;
  for (const OptionPage& option : pages.front().options) own += ZshOption(option);
  for (const CommandPage& page : pages) {
    if (page.name.empty()) continue;
    commands += "        " + Quoted(page.name + ":" + page.text, "'\\''") + "\n";
    cases += "    " + page.name + ")\n      _arguments \\\n";
    for (const OptionPage& option : page.options) {
      if (!option.is_argument) cases += ZshOption(option);
    }
    cases += "        '*:file:_files'\n      ;;\n";
  }
  return "#compdef zforms\n# Completes the command line of zforms in zsh.\n_zforms() {\n"
         "  local curcontext=$curcontext state line\n  typeset -A opt_args\n  local -a commands\n"
         "  _arguments -C \\\n" +
         own +
         "        '1:command:->command' '*::argument:->argument'\n"
         "  if [[ $state == command ]]; then\n    commands=(\n" +
         commands +
         "    )\n    _describe command commands\n    return\n  fi\n"
         "  [[ $state == argument ]] || return\n  case $line[1] in\n" +
         cases + "  esac\n}\n_zforms \"$@\"\n";
}

std::string FishCompletion(const std::vector<CommandPage>& pages) {
  std::string out = "# Completes the command line of zforms in fish.\n";
  for (const CommandPage& page : pages) {
    if (!page.name.empty()) {
      out += "complete -c zforms -n __fish_use_subcommand -f -a " + page.name + " -d " +
             Quoted(WithBackslashes(page.text, "\\"), "\\'") + "\n";
    }
    for (const OptionPage& option : page.options) {
      if (!option.is_argument) out += FishOption(option, page.name);
    }
  }
  return out;
}

}  // namespace zforms::tool
