#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace zforms::tool {

// Prints help whose texts are wrapped at the width of the terminal. Lines of a footer that begin with a space, such as
// examples, are kept as they are; its other lines are paragraphs.
class HelpFormatter final : public CLI::Formatter {
 public:
  explicit HelpFormatter(size_t width);

  std::string make_subcommand(const CLI::App* command) const override;
  std::string make_option(const CLI::Option* option, bool is_positional) const override;
  std::string make_footer(const CLI::App* command) const override;

 private:
  // A name, and its text from column `columns` on: beside the name, or below it where that is too long.
  std::string Entry(const std::string& name, const std::string& text, size_t columns) const;

  size_t width_;
};

// The text in lines of at most `width` columns, broken at spaces; each line but the first begins with `indent` spaces,
// which the first is taken to have already. A word longer than a line has a line of its own.
std::string Wrapped(const std::string& text, size_t indent, size_t width);

}  // namespace zforms::tool
