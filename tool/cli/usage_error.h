#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace zforms::tool {

// What is wrong with the command line that the parser refused, in one line: a command
// or an option that there is not, with the one that is meant, before what is missing.
std::string DescribeUsageError(const CLI::App& app, int argc, const char* const* argv, const CLI::ParseError& error);

// The command that the user asked for, "zforms fill", or "zforms" when there is no such command.
std::string CommandAsked(const CLI::App& app, int argc, const char* const* argv);

}  // namespace zforms::tool
