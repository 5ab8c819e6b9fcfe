#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace zforms::tool {

// Prints help with texts wrapped at the width of the terminal. Lines of a footer that begin with a space, such as
// examples, are kept unchanged; its other lines are paragraphs.
class HelpFormatter final : public CLI::Formatter {
 public:
  explicit HelpFormatter(size_t width);

  std::string make_subcommand(const CLI::App* command) const override;
  std::string make_option(const CLI::Option* option, bool is_positional) const override;
  // The placeholder of the option's value, as in the manual pages.
  std::string make_option_opts(const CLI::Option* option) const override;
  std::string make_footer(const CLI::App* command) const override;

 private:
  // A name and its text. The text starts at column `columns`, on the line of the name, or on the next one if the name
  // is too long.
  std::string Entry(const std::string& name, const std::string& text, size_t columns) const;

  size_t width_;
};

// Wraps the text at spaces into lines of at most `width` columns; each line except the first is indented by `indent`
// spaces, and the first is assumed to be indented already. A word longer than a line is on a line of its own.
std::string Wrapped(const std::string& text, size_t indent, size_t width);

}  // namespace zforms::tool
