#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace zforms::tool {

// Adds the option `name` (such as "--password") for a password, and one that reads it from a file ("--password-file"):
// other users of the machine can see a command line. Both need the option `needed`, if there is one.
void AddSecret(CLI::App* command, const std::string& name, std::string* password, const std::string& help,
               CLI::Option* needed = nullptr);

// The password that opens the file; without the option, that in the environment (ZFORMS_PASSWORD).
void AddPassword(CLI::App* command, std::string* password);

}  // namespace zforms::tool
