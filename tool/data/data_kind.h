#pragma once

#include <string>
#include <string_view>

namespace zforms::tool {

// Why the first bytes of data, 4 KB or all of them, show that it holds no values that
// are read: nothing is in it, it is a workbook, a PDF file, no text at all. Empty when
// it may hold some.
std::string FaultOfData(std::string_view head);

}  // namespace zforms::tool
