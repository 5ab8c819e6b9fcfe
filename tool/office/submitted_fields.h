#pragma once

#include <string>
#include <utility>
#include <vector>

namespace zforms {
class ZXFDF;
}

namespace zforms::tool {

// Full names and values of the document's fields that have a value, except the session field. Several values become the
// lines of one text; lines end in LF.
std::vector<std::pair<std::string, std::string>> SubmittedFields(const ZXFDF& xfdf);

}  // namespace zforms::tool
