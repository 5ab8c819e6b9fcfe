#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

namespace zforms::tool {

// What manual pages and completions say of the commands, read from the tree of the command line.

struct OptionPage {
  std::vector<std::string> names;    // "-o", "--output"; of an argument its name
  std::string value;                 // what stands for its value, such as "FILE"; empty for a flag
  std::vector<std::string> choices;  // its values, where there are few
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

// The program, then its commands. Commands and options that help does not show are left out.
std::vector<CommandPage> ReadPages(const CLI::App& app);

// Adds the hidden command that writes all pages into a folder; `*run` becomes it when it is chosen.
void AddPages(CLI::App& app, std::function<int()>* run);

}  // namespace zforms::tool
