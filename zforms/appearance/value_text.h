#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zforms {

// The characters of a UTF-8 text as they are shown: tabs are blanks, other control characters are left out, and so are
// blanks at the end. Bytes that are not valid UTF-8 become U+FFFD.

// In one line: each line end (CR, LF, CR LF, U+2028, U+2029) becomes a blank.
std::u32string LineOfText(std::string_view utf8);
// One text for each line; line ends at the end of the whole are left out.
std::vector<std::u32string> LinesOfText(std::string_view utf8);

}  // namespace zforms
