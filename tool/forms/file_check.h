#pragma once

#include "tool/base/console.h"
#include "zforms/acroform/acro_form.h"

namespace zforms::tool {

// Loads every object that the file lists, so that whatever is odd is met and the form's
// diagnostics say it. Returns how many there are.
size_t LoadAll(ZPDFParser& parser);

// Tells what is odd about the file apart from its fields, and has the form's diagnostics
// name what would be lost if it were written anew. Returns whether that belongs to pages
// or form.
bool CheckFile(ZAcroForm& form, Console& console);

// Whether the document may be written anew though pages or form lose something. False, and
// said, unless that is forced.
bool MayWriteAnew(bool loses, bool recover, bool force, Console& console);

}  // namespace zforms::tool
