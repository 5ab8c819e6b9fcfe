#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace zforms::tool {

// Explains in one line why the parser refused the command line. An unknown command or option, with the most similar
// known one, takes precedence over a missing argument.
std::string DescribeUsageError(const CLI::App& app, int argc, const char* const* argv, const CLI::ParseError& error);

// The chosen command, such as "zforms fill"; "zforms" when there is no such command.
std::string CommandAsked(const CLI::App& app, int argc, const char* const* argv);

}  // namespace zforms::tool
