#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace zforms::tool {

// Options that several commands take, in the same words.

inline void AddFile(CLI::App* command, std::string* file) {
  command->add_option("FILE", *file, "The PDF file, or \"-\" for standard input.")->required();
}

inline void AddPassword(CLI::App* command, std::string* password) {
  command->add_option("--password", *password, "The user password that opens an encrypted file.");
}

inline void AddRecover(CLI::App* command, bool* recover) {
  command->add_flag("--recover", *recover,
                    "Read a damaged file as well: what its cross-reference table does not tell is found by a scan of "
                    "the file, and what was done is said. It is then saved anew, not updated.");
}

}  // namespace zforms::tool
