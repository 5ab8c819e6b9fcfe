#pragma once

#include <string>
#include <utility>
#include <vector>

namespace zforms {
class ZXFDF;
}

namespace zforms::tool {

// Full names and values of the fields of a document that have a value, but the one of
// its session. Several values are the lines of one text; lines end in LF.
std::vector<std::pair<std::string, std::string>> SubmittedFields(const ZXFDF& xfdf);

}  // namespace zforms::tool
