#pragma once

#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// Whether two texts are the same but for the case of the letters A to Z.
ZFORMS_API bool SameIgnoringASCIICase(std::string_view a, std::string_view b);

// UTF-8 text with small letters in place of capitals, so that two texts that
// differ in case alone become the same: the Latin letters of ISO-8859-1 and of
// Latin Extended-A, Greek and Cyrillic. All other bytes stay.
ZFORMS_API Chaine FoldCase(std::string_view utf8);

}  // namespace zforms
