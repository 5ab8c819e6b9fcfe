#pragma once

#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// UTF-8 text by full case folding (Unicode 3.13), so that texts which differ in case only become equal: "STRASSE" and
// "Straße" both give "strasse". Bytes that are not UTF-8 are unchanged.
ZFORMS_API Chaine FoldCase(std::string_view utf8);

// As FoldCase, and letters with their combining marks composed (NFC): names that some file system takes for the same
// file become equal. Names longer than any file system takes are not composed.
ZFORMS_API Chaine FoldFileName(std::string_view utf8);

}  // namespace zforms
