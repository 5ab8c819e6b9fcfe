#pragma once

#include <optional>
#include <string_view>

#include "zforms/platform/base/secret_text.h"

namespace zforms {

// Prepares a password in UTF-8 for comparison, so that the ways to type it give the same bytes (SASLprep, RFC 4013):
// other spaces become blanks, invisible characters go, and the text takes the normal form NFKC. Nothing for text that
// may not be a password: bytes that are not UTF-8, control and other prohibited characters, or letters of both
// directions (RFC 3454 section 6). Characters are known as far as utf8proc knows them.
std::optional<SecretText> SASLPrep(std::string_view utf8);

}  // namespace zforms
