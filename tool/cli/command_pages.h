#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

namespace zforms::tool {

// The contents of manual pages and completions, read from the definition of the command line.

struct OptionPage {
  std::vector<std::string> names;    // such as "-o" and "--output"; for a positional argument its name
  std::string value;                 // the placeholder of its value, such as "FILE"; empty for a flag
  std::vector<std::string> choices;  // the allowed values, if there is a fixed list
  std::string default_value;
  std::string text;
  bool is_argument = false;
  bool is_required = false;
  bool takes_several = false;
};

struct CommandPage {
  std::string name;  // "fill"; empty for the program itself
  std::string text;
  std::string footer;  // paragraphs, then lines that begin with a space
  std::vector<OptionPage> options;
};

OptionPage ReadOption(const CLI::Option& option);

// The page of the program, then the pages of its commands. Commands and options that the help does not show are left
// out.
std::vector<CommandPage> ReadPages(const CLI::App& app);

// Adds the hidden command that writes all pages into a folder. When the user chooses it, `*run` is set to it.
void AddPages(CLI::App& app, std::function<int()>* run);

}  // namespace zforms::tool
