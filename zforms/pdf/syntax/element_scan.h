#pragma once

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

namespace zforms {

enum class ScanStop {
  kEndobj,       // only the keyword "endobj" ends the scan early
  kEndobjOrObj,  // the keyword "obj" does as well: it begins another object, so "endobj" is missing
};

// The length of the first complete PDF element at the front of `text`: a dictionary, array or string up to its closing
// delimiter; anything else up to the next closing delimiter or "endobj", including white space. Strings, comments and
// names are skipped as a whole (a name may contain "endobj"). An unmatched closing delimiter ends the element, without
// being counted, at the outermost level, and is skipped inside. Linear time, no recursion. The positions of comments
// (from, to) are added to `comments` if it is given.
size_t FirstElementLength(std::string_view text, ScanStop stop,
                          std::vector<std::pair<size_t, size_t>>* comments = nullptr);

}  // namespace zforms
