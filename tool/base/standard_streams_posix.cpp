#include <sys/ioctl.h>
#include <unistd.h>

#include "tool/base/standard_streams.h"

namespace zforms::tool {

void SetBinary(std::FILE*) {}

size_t TerminalColumns() {
  winsize size{};
  if (isatty(STDOUT_FILENO) == 0 || ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return 0;
  return size.ws_col;
}

bool IsErrorTerminal() { return isatty(STDERR_FILENO) != 0; }

}  // namespace zforms::tool
