#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string_view>

#include "tool/base/console.h"
#include "tool/base/program_start.h"
#include "zforms/platform/files/mapped_file.h"

namespace zforms::tool {
namespace {

void Tell(std::string_view text) {
  // Ignores a failure to write to standard error, since there is nowhere else to report it.
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
}

// Handles SIGBUS. Must not return for a mapped file: the bytes that the program tried to read no longer exist.
void EndOnLostBytes(int signal, siginfo_t* info, void* /*context*/) {
  const char* const path = MappedFileAt(info->si_addr);
  if (path == nullptr) {
    ::raise(signal);
    return;
  }
  Tell("zforms: ");
  Tell(path);
  Tell(": the file was cut short by another program while it was read\n");
  ::_exit(kFailed);
}

}  // namespace

std::vector<std::string> PrepareProgram(int argc, const char* const* argv) {
  struct sigaction action = {};
  action.sa_sigaction = EndOnLostBytes;
  action.sa_flags = static_cast<int>(SA_SIGINFO | SA_RESETHAND);
  ::sigaction(SIGBUS, &action, nullptr);
  return {argv, argv + argc};
}

std::string EnvironmentText(const std::string& name) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): read before there are other threads.
  const char* const text = std::getenv(name.c_str());
  return text == nullptr ? std::string() : text;
}

}  // namespace zforms::tool
