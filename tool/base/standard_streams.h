#pragma once

#include <cstdio>

namespace zforms::tool {

// Switches the stream to binary mode, without line-end conversion.
void SetBinary(std::FILE* stream);

// The width of the terminal at standard output in columns; 0 when it is not a terminal.
size_t TerminalColumns();

// True when standard error is a terminal.
bool IsErrorTerminal();

}  // namespace zforms::tool
