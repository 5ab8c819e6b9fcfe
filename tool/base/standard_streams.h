#pragma once

#include <cstdio>

namespace zforms::tool {

// From now on the stream carries bytes as they are, without line-end conversion.
void SetBinary(std::FILE* stream);

// How many columns the terminal at standard output has; 0 when it is none.
size_t TerminalColumns();

// Whether somebody looks at standard error on a terminal.
bool IsErrorTerminal();

}  // namespace zforms::tool
