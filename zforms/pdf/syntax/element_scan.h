#pragma once

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

namespace zforms {

enum class ScanStop {
  kEndobj,       // only the keyword "endobj" ends the scan early
  kEndobjOrObj,  // "obj" too: it begins another object, so "endobj" is missing
};

// The length of the first complete PDF element at the front of `text`: a dictionary, array or string up to its closing
// delimiter; anything else up to the next closing delimiter or "endobj", including white space. Strings, comments and
// names are skipped as a whole (a name may contain "endobj"). At the outermost level, an unmatched closing delimiter
// ends the element and is not a part of it; inside, it is skipped. Linear time, no recursion. The positions of comments
// (from, to) are added to `comments` if it is given.
size_t FirstElementLength(std::string_view text, ScanStop stop,
                          std::vector<std::pair<size_t, size_t>>* comments = nullptr);

}  // namespace zforms
