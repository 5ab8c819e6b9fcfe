#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include "tool/base/standard_streams.h"

namespace zforms::tool {

void SetBinary(std::FILE* stream) { _setmode(_fileno(stream), _O_BINARY); }

size_t TerminalColumns() {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info)) return 0;
  return static_cast<size_t>(info.srWindow.Right - info.srWindow.Left + 1);
}

bool IsErrorTerminal() { return _isatty(_fileno(stderr)) != 0; }

}  // namespace zforms::tool
