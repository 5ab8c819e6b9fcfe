#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zforms {

// The functions below return the characters of a UTF-8 text as they are shown. Tabs become blanks. Other control
// characters are left out and added to `left_out`, which may be null. Soft hyphens, byte order marks and blanks at the
// end of a line are left out. Bytes that are not valid UTF-8 become U+FFFD.

// The text as one line: each line end (CR, LF, CR LF, U+2028, U+2029) becomes a blank.
std::u32string LineOfText(std::string_view utf8, std::u32string* left_out = nullptr);
// One text for each line; line ends at the end of the whole are left out.
std::vector<std::u32string> LinesOfText(std::string_view utf8, std::u32string* left_out = nullptr);

}  // namespace zforms
