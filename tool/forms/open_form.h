#pragma once

#include <string>

#include "tool/base/console.h"
#include "zforms/acroform/acro_form.h"
#include "zforms/form.h"

namespace zforms::tool {

// What to add to the reason why a file could not be read: whether --recover reads it,
// nothing where the reason is no damage. `bytes` are those of standard input.
Chaine RecoveryAdvice(const std::string& file, const Chaine& bytes, const std::string& password, const Chaine& reason);

// Loads the document from a file or standard input. False, and said, when it
// cannot be read or the password does not open it. A damaged file is read when it is
// to be recovered. Its fields are those of its pages as well.
bool OpenForm(const std::string& file, const std::string& password, ZAcroForm& form, Console& console,
              bool recover = false);

// The same, and false as well when the document has no form.
bool OpenFormWithFields(const std::string& file, const std::string& password, ZAcroForm& form, Console& console,
                        bool recover = false);

// The same for the commands on fields and values; one without a form opens as well.
bool OpenForm(const std::string& file, const ZFormOptions& options, ZForm& form, Console& console);

// What to say of a document that has no fields.
std::string WhyNoFields(const ZAcroForm& form);

// Saves the document to a file (see zforms::SaveForm) or to standard output. False, and said, when that fails.
bool SaveForm(const std::string& output, ZAcroForm& form, Console& console);

}  // namespace zforms::tool
