#pragma once

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

namespace zforms {

enum class ScanStop {
  kEndobj,       // only "endobj" ends the scan early
  kEndobjOrObj,  // the keyword "obj" does as well: another object begins, so "endobj" was missing
};

// The length of the first complete PDF element at the front of `text`: a
// dictionary, array or string up to its closing delimiter; anything else up to
// the next closing delimiter or "endobj", white space included. Strings and
// comments are passed over whole, names too (a name may spell "endobj"). A
// closing delimiter that nothing opened ends the element uncounted at the
// outermost level and is passed over inside. Linear, without recursion. The
// comments met, as positions from and to, are added to `comments` if it is given.
size_t FirstElementLength(std::string_view text, ScanStop stop,
                          std::vector<std::pair<size_t, size_t>>* comments = nullptr);

}  // namespace zforms
