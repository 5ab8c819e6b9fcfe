#include "tool/cli/manual_pages.h"

#include <algorithm>
#include <sstream>

namespace zforms::tool {
namespace {

std::string Upper(std::string text) {
  for (char& c : text) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  return text;
}

std::string ProgramName(const CommandPage& page) { return page.name.empty() ? "zforms" : "zforms-" + page.name; }

// The text with escapes, so that no character has a special meaning for man(7), even at the start of a line.
std::string Escaped(const std::string& text) {
  std::string out = text.starts_with('.') || text.starts_with('\'') ? "\\&" : "";
  for (const char c : text) {
    if (c == '\\') {
      out += "\\e";
    } else if (c == '-') {
      out += "\\-";
    } else {
      out += c;
    }
  }
  return out;
}

std::string Bold(const std::string& text) { return "\\fB" + Escaped(text) + "\\fR"; }
std::string Italic(const std::string& text) { return "\\fI" + Escaped(text) + "\\fR"; }

// A description without its full stop, for the section NAME.
std::string Title(const std::string& text) {
  return Escaped(text.ends_with('.') ? text.substr(0, text.size() - 1) : text);
}

std::string Synopsis(const CommandPage& page) {
  if (page.name.empty()) return Bold("zforms") + " " + Italic("COMMAND") + " [" + Italic("OPTION") + "...]";
  std::string line = Bold("zforms " + page.name);
  for (const OptionPage& option : page.options) {
    if (!option.is_argument) continue;
    line += " " + Italic(option.value) + (option.takes_several ? "..." : "");
  }
  for (const OptionPage& option : page.options) {
    if (!option.is_argument && option.is_required)
      line += " " + Bold(option.names.front()) + " " + Italic(option.value);
  }
  return line + " [" + Italic("OPTION") + "...]";
}

std::string OptionEntry(const OptionPage& option) {
  std::string head;
  for (const std::string& name : option.names) {
    head += (head.empty() ? "" : ", ") + (option.is_argument ? Italic(name) : Bold(name));
  }
  if (!option.is_argument && !option.value.empty()) {
    std::string value = Italic(option.value);
    if (!option.choices.empty()) {
      value.clear();
      for (const std::string& choice : option.choices) value += (value.empty() ? "" : "|") + Bold(choice);
    }
    head += " " + value;
    if (!option.default_value.empty()) head += " (default: " + Escaped(option.default_value) + ")";
  }
  return ".TP\n" + head + "\n" + Escaped(option.text) + "\n";
}

std::string Options(const CommandPage& page, bool arguments) {
  std::string entries;
  for (const OptionPage& option : page.options) {
    if (option.is_argument == arguments) entries += OptionEntry(option);
  }
  return entries;
}

// Writes paragraphs as running text; lines that begin with a space, such as examples, are not changed.
std::string Footer(const std::string& footer) {
  std::string out;
  bool is_literal = false;
  std::istringstream lines(footer);
  for (std::string line; std::getline(lines, line);) {
    const bool literal = line.starts_with(' ');
    if (literal != is_literal) out += literal ? ".EX\n" : ".EE\n";
    is_literal = literal;
    if (line == "Examples:") {
      out += ".SH EXAMPLES\n";
    } else {
      out += line.empty() ? ".PP\n" : Escaped(line) + "\n";
    }
  }
  return out + (is_literal ? ".EE\n" : "");
}

// Splits the footer into the paragraphs before the examples, and the examples with what follows.
std::pair<std::string, std::string> SplitFooter(const std::string& footer) {
  const size_t at = footer.starts_with("Examples:") ? 0 : footer.find("\nExamples:");
  if (at == std::string::npos) return {footer, {}};
  std::string before = footer.substr(0, at);
  while (before.ends_with('\n')) before.pop_back();
  return {before, footer.substr(at == 0 ? 0 : at + 1)};
}

std::string SeeAlso(const CommandPage& page, const std::vector<CommandPage>& all) {
  std::string names;
  for (const CommandPage& other : all) {
    if (other.name == page.name) continue;
    names += (names.empty() ? "" : ",\n") + Bold(ProgramName(other)) + "(1)";
  }
  return ".SH SEE ALSO\n" + names + "\n";
}

}  // namespace

std::string ManualPage(const CommandPage& page, const std::vector<CommandPage>& all) {
  const auto [more, examples] = SplitFooter(page.footer);
  std::string out = ".TH " + Upper(ProgramName(page)) + " 1 \"\" \"zforms " ZFORMS_VERSION "\" \"PDF forms\"\n";
  out += ".SH NAME\n" + Escaped(ProgramName(page)) + " \\- " + Title(page.text) + "\n";
  out += ".SH SYNOPSIS\n" + Synopsis(page) + "\n";
  if (!more.empty()) out += ".SH DESCRIPTION\n" + Footer(more);
  if (page.name.empty()) {
    out += ".SH COMMANDS\n";
    for (const CommandPage& command : all) {
      if (!command.name.empty()) out += ".TP\n" + Bold(command.name) + "\n" + Escaped(command.text) + "\n";
    }
  }
  if (const std::string arguments = Options(page, true); !arguments.empty()) out += ".SH ARGUMENTS\n" + arguments;
  out += ".SH OPTIONS\n" + Options(page, false);
  if (!examples.empty()) out += Footer(examples);
  if (!page.name.empty()) {
    out += ".SH EXIT STATUS\n0 when all is done, 3 when it is done with warnings, 2 when it failed.\n";
  }
  return out + SeeAlso(page, all);
}

}  // namespace zforms::tool
