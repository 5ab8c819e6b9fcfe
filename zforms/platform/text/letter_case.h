#pragma once

#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// True when two texts are equal if the case of the letters A to Z is ignored.
ZFORMS_API bool SameIgnoringASCIICase(std::string_view a, std::string_view b);

// UTF-8 text with capitals replaced by small letters, so that texts which differ in case only become equal. Covers the
// Latin letters of ISO-8859-1 and of Latin Extended-A, Greek and Cyrillic. All other bytes are unchanged.
ZFORMS_API Chaine FoldCase(std::string_view utf8);

}  // namespace zforms
