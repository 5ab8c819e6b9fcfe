#include "tool/cli/help_formatter.h"

#include <algorithm>
#include <sstream>

#include "tool/cli/command_pages.h"

namespace zforms::tool {
namespace {

constexpr size_t kCommandColumns = 16;
constexpr size_t kNameColumns = 26;
constexpr size_t kLeastText = 30;

}  // namespace

std::string Wrapped(const std::string& text, size_t indent, size_t width) {
  std::istringstream words(text);
  std::string result;
  size_t column = indent;
  for (std::string word; words >> word; column += word.size()) {
    if (column > indent && column + 1 + word.size() > width) {
      result += '\n' + std::string(indent, ' ');
      column = indent;
    } else if (column > indent) {
      result += ' ';
      column++;
    }
    result += word;
  }
  return result;
}

HelpFormatter::HelpFormatter(size_t width) : width_(std::max(width, kNameColumns + kLeastText)) {
  label("Positionals", "Arguments");
}

std::string HelpFormatter::Entry(const std::string& name, const std::string& text, size_t columns) const {
  std::string entry = "  " + name;
  if (entry.size() >= columns) entry += '\n' + std::string(columns, ' ');
  if (entry.size() < columns) entry.resize(columns, ' ');
  return entry + Wrapped(text, columns, width_) + '\n';
}

std::string HelpFormatter::make_subcommand(const CLI::App* command) const {
  return Entry(command->get_name(), command->get_description(), kCommandColumns);
}

std::string HelpFormatter::make_option(const CLI::Option* option, bool is_positional) const {
  return Entry(make_option_name(option, is_positional) + make_option_opts(option), make_option_desc(option),
               kNameColumns);
}

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const {
  const OptionPage page = ReadOption(*option);
  if (page.is_argument) return page.takes_several ? "..." : "";
  std::string choices;
  for (const std::string& choice : page.choices) choices += (choices.empty() ? "" : "|") + choice;
  const std::string value = choices.empty() ? page.value : choices;
  return (value.empty() ? "" : " " + value) +
         (page.default_value.empty() ? "" : " (default: " + page.default_value + ")") +
         (page.is_required ? " (required)" : "");
}

std::string HelpFormatter::make_footer(const CLI::App* command) const {
  std::istringstream lines(command->get_footer());
  std::string footer, paragraph;
  const auto end_paragraph = [&] {
    if (!paragraph.empty()) footer += Wrapped(paragraph, 0, width_) + '\n';
    paragraph.clear();
  };
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty() && line[0] != ' ') {
      paragraph += line + ' ';
      continue;
    }
    end_paragraph();
    footer += line + '\n';
  }
  end_paragraph();
  return footer;
}

}  // namespace zforms::tool
