#pragma once

#include "tool/base/console.h"
#include "zforms/acroform/acro_form.h"

namespace zforms::tool {

// Loads every object listed in the file, so that the form's diagnostics have all warnings. Returns the number of
// objects that could be read.
size_t LoadAll(ZPDFParser& parser);

// Prints the faults that the structure of the file has, and adds to the form's diagnostics the faults of its fields and
// what a full save would lose. True when the save would lose parts of pages or of the form.
bool CheckFile(ZAcroForm& form, Console& console);

}  // namespace zforms::tool
