#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "zforms/platform/host/os_process.h"

namespace zforms {

namespace {

// Runs in the child of a process that may have threads, so it makes only async-signal-safe calls.
[[noreturn]] void BecomeProgram(char* const* arguments, int report) {
  ::setsid();
  // The grandchild is adopted by the system, so nobody here must wait for it.
  const pid_t child = ::fork();
  if (child > 0) ::_exit(0);
  if (child == 0) {
    const int nothing = ::open("/dev/null", O_RDONLY);
    if (nothing >= 0) ::dup2(nothing, STDIN_FILENO);
    ::execvp(arguments[0], arguments);
  }
  const int error = errno;
  const ssize_t told = ::write(report, &error, sizeof error);
  ::_exit(told == sizeof error ? 127 : 126);
}

}  // namespace

bool StartProgram(const std::vector<std::string>& command) {
  if (command.empty()) return false;
  std::vector<char*> arguments;
  for (const std::string& argument : command) {
    if (argument.find('\0') != std::string::npos) return false;
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  // This pipe reports an error of the child; it closes without data when the program starts.
  int report[2];
  if (::pipe2(report, O_CLOEXEC) != 0) return false;
  const pid_t child = ::fork();
  if (child == 0) BecomeProgram(arguments.data(), report[1]);
  ::close(report[1]);
  int status = 0;
  if (child > 0) {
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
  }
  int error = 0;
  ssize_t got;
  do {
    got = ::read(report[0], &error, sizeof error);
  } while (got < 0 && errno == EINTR);
  ::close(report[0]);
  return child > 0 && got == 0;
}

}  // namespace zforms
