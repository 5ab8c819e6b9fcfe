#pragma once

#include <optional>
#include <string_view>

#include "zforms/platform/base/secret_text.h"

namespace zforms {

// Prepares a password in UTF-8 for comparison, so that the ways to type it give the same bytes (SASLprep, RFC 4013):
// other spaces become blanks, invisible characters are removed, and the text is normalized to NFKC. Returns nothing for
// text that is not allowed as a password: bytes that are not UTF-8, control and other prohibited characters, or letters
// of both directions (RFC 3454 section 6). The properties of characters are those that utf8proc has.
std::optional<SecretText> SASLPrep(std::string_view utf8);

}  // namespace zforms
