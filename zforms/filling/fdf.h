#pragma once

#include <set>
#include <string>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {

// Converts FDF, the form data format of ISO 32000-1 12.7.7, to and from XFDF documents.

// Reads the fields of the FDF file into the document. False, with a reason, when it is not an FDF file. When the result
// is true, `error` may still be set: it then says what was left out.
ZFORMS_API bool ReadFDF(const Chaine& bytes, ZXFDF* data, std::string* error);

// Writes the fields of the document, its PDF and its identifiers as an FDF file. Values of fields whose full names are
// in `buttons` are states and written as names.
ZFORMS_API Chaine WriteFDF(const ZXFDF& data, const std::set<std::string>& buttons);

}  // namespace zforms
