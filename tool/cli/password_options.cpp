#include "tool/cli/password_options.h"

#include "tool/base/program_start.h"
#include "zforms/platform/files/file_io.h"

namespace zforms::tool {
namespace {

constexpr const char* kVariable = "ZFORMS_PASSWORD";
constexpr size_t kMostOfFile = 4096;

// The first line of the file, without the end of line.
SecretString ReadPassword(const std::string& option, const std::string& path) {
  SecretText bytes;
  std::string error;
  if (!ReadFile(Chaine(path), &bytes, &error, {kMostOfFile, {}})) {
    throw CLI::ValidationError(option, "cannot read " + path + ": " + error);
  }
  const std::string_view text = bytes;
  return SecretString(text.substr(0, text.find_first_of("\r\n")));
}

}  // namespace

void AddSecret(CLI::App* command, const std::string& name, SecretString* password, const std::string& help,
               CLI::Option* needed) {
  CLI::Option* const typed = command->add_option(name, *password, help)->type_name("PASSWORD");
  const std::string from_file = name + "-file";
  const auto read = [password, from_file](const std::string& path) { *password = ReadPassword(from_file, path); };
  CLI::Option* const file =
      command->add_option_function<std::string>(from_file, read, "Read this password from the first line of a file.");
  file->type_name("FILE")->excludes(typed);
  if (needed == nullptr) return;
  typed->needs(needed);
  file->needs(needed);
}

void AddPassword(CLI::App* command, SecretString* password) {
  if (const SecretString set = EnvironmentText(kVariable); !set.empty()) *password = set;
  AddSecret(command, "--password", password,
            "The user or owner password that opens an encrypted file. It may also be in the environment variable "
            "ZFORMS_PASSWORD.");
}

}  // namespace zforms::tool
