#include "tool/cli/usage_error.h"

#include <algorithm>
#include <numeric>
#include <string_view>
#include <vector>

#include "zforms/platform/base/ascii.h"

namespace zforms::tool {
namespace {

// The edit distance: how many characters must be added, removed or changed to turn one word into the other.
size_t Distance(std::string_view a, std::string_view b) {
  std::vector<size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 1; i <= a.size(); i++) {
    size_t diagonal = std::exchange(row[0], i);
    for (size_t j = 1; j <= b.size(); j++) {
      const size_t changed = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1, changed}));
    }
  }
  return row[b.size()];
}

// The end of a message that suggests the known word nearest to a misspelt one; empty when none is near.
std::string MeantBy(const std::string& word, const std::vector<std::string>& known) {
  constexpr size_t kLongest = 60;
  constexpr size_t kNear = 2;
  size_t least = std::min(kNear, word.size() / 3) + 1;
  std::string meant;
  for (const std::string& one : known) {
    const size_t distance = word.size() > kLongest ? kLongest : one.starts_with(word) ? 1 : Distance(word, one);
    if (distance >= least) continue;
    least = distance;
    meant = "; did you mean \"" + one + "\"?";
  }
  return meant;
}

std::vector<std::string> OptionsOf(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    for (const std::string& name : option->get_snames()) names.push_back("-" + name);
  }
  return names;
}

// The first argument that looks like an option but is unknown; empty when there is none. A negative number is a value.
std::string UnknownOption(const std::vector<std::string>& known, int argc, const char* const* argv) {
  for (int i = 2; i < argc && std::string_view(argv[i]) != "--"; i++) {
    const std::string_view argument = argv[i];
    const bool is_long = argument.starts_with("--");
    if (!is_long && (argument.size() < 2 || argument[0] != '-' || IsDigitASCII(argument[1]))) continue;
    const std::string name(is_long ? argument.substr(0, argument.find('=')) : argument.substr(0, 2));
    if (std::find(known.begin(), known.end(), name) == known.end()) return name;
  }
  return {};
}

}  // namespace

std::string DescribeUsageError(const CLI::App& app, int argc, const char* const* argv, const CLI::ParseError& error) {
  if (argc < 2 || argv[1][0] == '-') return error.what();
  const std::string asked = argv[1];
  std::vector<std::string> commands;
  const CLI::App* command = nullptr;
  for (const CLI::App* one : app.get_subcommands([](const CLI::App*) { return true; })) {
    commands.push_back(one->get_name());
    if (one->get_name() == asked) command = one;
  }
  if (command == nullptr) return "there is no command \"" + asked + "\"" + MeantBy(asked, commands);
  const std::vector<std::string> options = OptionsOf(*command);
  const std::string unknown = UnknownOption(options, argc, argv);
  if (unknown.empty()) return error.what();
  return asked + ": there is no option \"" + unknown + "\"" + MeantBy(unknown, options);
}

std::string CommandAsked(const CLI::App& app, int argc, const char* const* argv) {
  const std::string asked = argc < 2 ? "" : argv[1];
  const auto commands = app.get_subcommands([&](const CLI::App* one) { return one->get_name() == asked; });
  return commands.empty() ? app.get_name() : app.get_name() + ' ' + asked;
}

}  // namespace zforms::tool
