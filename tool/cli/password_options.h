#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "zforms/platform/base/secret_text.h"

namespace zforms::tool {

// Adds the option `name` (such as "--password") for a password, and one that reads it from a file ("--password-file"),
// because other users of the machine can see a command line. Both options may only be given together with the option
// `needed`, if that is not null.
void AddSecret(CLI::App* command, const std::string& name, SecretString* password, const std::string& help,
               CLI::Option* needed = nullptr);

// Adds the options for the password that opens the file. Without them, the environment variable ZFORMS_PASSWORD gives
// the password.
void AddPassword(CLI::App* command, SecretString* password);

}  // namespace zforms::tool
