#pragma once

#include <string>
#include <vector>

#include "tool/base/console.h"
#include "zforms/acroform/acro_form.h"

namespace zforms::tool {

// The possible bytes of a password: up to revision 3 it is in PDFDocEncoding (ISO 32000-1 7.6.3.3), but some writers
// used the terminal's UTF-8.
std::vector<Chaine> PasswordForms(const std::string& password);

// The end of the message about a file that could not be read: whether --recover can read it; empty when the reason is
// not damage. `bytes` are the contents of standard input.
Chaine RecoveryAdvice(const std::string& file, const Chaine& bytes, const std::string& password, const Chaine& reason);

// Loads the document from a file or standard input, with the fields of its pages. When it cannot be read or the
// password does not open it, prints the reason and returns false. A damaged file is read only with `recover`.
bool OpenForm(const std::string& file, const std::string& password, ZAcroForm& form, Console& console,
              bool recover = false);

// The same; also fails when the document has no form.
bool OpenFormWithFields(const std::string& file, const std::string& password, ZAcroForm& form, Console& console,
                        bool recover = false);

// The message about a document without fields.
std::string WhyNoFields(const ZAcroForm& form);

// Saves the document: in place when `output` is its own file and only an update is appended, else to a temporary file
// that is renamed to `output`. On failure prints the reason and returns false.
bool SaveForm(const std::string& file, const std::string& output, ZAcroForm& form, Console& console);

}  // namespace zforms::tool
