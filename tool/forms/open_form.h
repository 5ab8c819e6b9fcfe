#pragma once

#include <string>

#include "tool/base/console.h"
#include "zforms/acroform/acro_form.h"
#include "zforms/filling/form_files.h"
#include "zforms/form.h"

namespace zforms::tool {

// The end of the message about a file that could not be read: whether --recover can read it. Empty when the reason is
// not damage. `bytes` are the contents of standard input, which are used when `file` is "-".
Chaine RecoveryAdvice(const std::string& file, const Chaine& bytes, const std::string& password, const Chaine& reason);

// Loads the document from a file or standard input, with the fields of its pages. When it cannot be read or the
// password does not open it, prints the reason and returns false. A damaged file is read only with `recover`.
bool OpenForm(const std::string& file, const std::string& password, ZAcroForm& form, Console& console,
              bool recover = false);

// Like OpenForm, but also fails when the document has no form.
bool OpenFormWithFields(const std::string& file, const std::string& password, ZAcroForm& form, Console& console,
                        bool recover = false);

// Like OpenForm, for the commands that read or fill fields. A document without a form is opened too.
bool OpenForm(const std::string& file, const ZFormOptions& options, ZForm& form, Console& console);

// True when the encryption may be removed, or its passwords or method changed: only the owner may do that. False, with
// a message, when the document was opened by the user password.
bool MayChangeEncryption(const ZAcroForm& form, Console& console);

// The message about a document without fields.
std::string WhyNoFields(const ZAcroForm& form);

// Saves the document to a file (see zforms::SaveForm) or to standard output, and prints all warnings about it. False,
// with a message, when it cannot be saved.
bool SaveForm(const std::string& output, ZAcroForm& form, const SaveOptions& options, Console& console);

}  // namespace zforms::tool
