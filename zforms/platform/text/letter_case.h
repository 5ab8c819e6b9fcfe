#pragma once

#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// Converts the text by full case folding (Unicode 3.13), so that texts which differ only in case become equal:
// "STRASSE" and "Straße" both give "strasse". Bytes that are not UTF-8 are unchanged.
ZFORMS_API Chaine FoldCase(std::string_view utf8);

// Like FoldCase, but also composes letters with their combining marks (NFC), so that names become equal when some file
// system takes them for the same file. Names longer than any file system takes are not composed.
ZFORMS_API Chaine FoldFileName(std::string_view utf8);

}  // namespace zforms
