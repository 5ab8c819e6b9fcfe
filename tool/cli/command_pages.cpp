#include "tool/cli/command_pages.h"

#include <sstream>

namespace zforms::tool {
namespace {

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, separator);) parts.push_back(part);
  return parts;
}

// The type of an option is "TEXT", or "TEXT:{keep,drop}" with choices.
void ReadType(const std::string& type, OptionPage* page) {
  page->value = type.substr(0, type.find(':'));
  const size_t open = type.find('{');
  const size_t close = type.find('}');
  if (open == std::string::npos || close == std::string::npos) return;
  page->choices = Split(type.substr(open + 1, close - open - 1), ',');
}

CommandPage ReadCommand(const CLI::App& command, const std::string& name) {
  CommandPage page{name, command.get_description(), command.get_footer(), {}};
  for (const CLI::Option* option : command.get_options()) {
    if (!option->get_group().empty()) page.options.push_back(ReadOption(*option));
  }
  return page;
}

}  // namespace

OptionPage ReadOption(const CLI::Option& option) {
  OptionPage page;
  page.text = option.get_description();
  page.is_argument = option.get_positional();
  page.is_required = option.get_required();
  page.takes_several = option.get_items_expected_max() > 1;
  // The name is a list, such as "-o,--output", or "--hide,--no-hide{false}" for a flag with its opposite.
  for (const std::string& name : Split(option.get_name(page.is_argument, true), ',')) {
    page.names.push_back(name.substr(0, name.find('{')));
  }
  if (page.is_argument) {
    page.value = page.names.front();
  } else if (option.get_items_expected_max() > 0) {
    ReadType(option.get_type_name(), &page);
    page.default_value = option.get_default_str();
  }
  return page;
}

std::vector<CommandPage> ReadPages(const CLI::App& app) {
  std::vector<CommandPage> pages = {ReadCommand(app, {})};
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (!command->get_group().empty()) pages.push_back(ReadCommand(*command, command->get_name()));
  }
  return pages;
}

}  // namespace zforms::tool
