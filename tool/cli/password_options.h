#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "zforms/platform/base/secret_text.h"

namespace zforms::tool {

// Adds the option `name` (such as "--password") for a password, and one that reads it from a file ("--password-file"):
// other users of the machine can see a command line. Both need the option `needed`, if there is one.
void AddSecret(CLI::App* command, const std::string& name, SecretString* password, const std::string& help,
               CLI::Option* needed = nullptr);

// The password that opens the file; without the option, that in the environment (ZFORMS_PASSWORD).
void AddPassword(CLI::App* command, SecretString* password);

}  // namespace zforms::tool
