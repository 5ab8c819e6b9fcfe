#pragma once

#include <string>
#include <vector>

#include "zforms/filling/form_message.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/base/secret_text.h"

namespace zforms {

class ZAcroForm;

// Where a form is read from: `bytes` if they are given, else the file.
struct ZFORMS_API FormSource {
  std::string path;
  const Chaine* bytes = nullptr;
  bool map = false;  // map a large file into memory: see MapFile
};

// Loads the document, including fields that only its pages show. The password is UTF-8. With `recover`, a damaged file
// is read too. False, with a message, when the document cannot be read or the password does not open it; the message
// says whether recovery could read the file.
ZFORMS_API bool OpenForm(const FormSource& source, const std::string& password, bool recover, ZAcroForm& form,
                         ZFormMessages* messages);

// Tells whether recovery could read a file that failed for this reason; kNone when the reason is not damage.
ZFORMS_API ZFormMessage::Remedy RecoveryFor(const FormSource& source, const std::string& password,
                                            const Chaine& reason);

// How a document is saved.
struct ZFORMS_API SaveOptions {
  bool anew = false;   // as a new file, even when an update is possible
  bool force = false;  // save also when pages, fields or their objects would be missing from the new file
};

// Saves the document into the file, as an update where that is possible. An update of the document's own file is
// appended in place. Any other file is written under a temporary name and then renamed. False, with a message, when
// writing fails, or when a new file would lose parts of pages or of the form and `force` is not set: see
// ZAcroForm::WouldLose.
ZFORMS_API bool SaveForm(ZAcroForm& form, const std::string& path, const SaveOptions& options, ZFormMessages* messages);
// Saves the document into `bytes` in the same way.
ZFORMS_API bool SaveForm(ZAcroForm& form, const SaveOptions& options, Chaine* bytes, ZFormMessages* messages);

// Why a document has no fields that can be filled; empty when it has a form.
ZFORMS_API std::string WhyNotFilled(const ZAcroForm& form);

// The byte strings to try for a password. Up to revision 4 of the encryption, a password is in PDFDocEncoding
// (ISO 32000-1 7.6.3.3), but some programs used the bytes that a user typed at a terminal, which are UTF-8. From
// revision 5 on, it is in UTF-8.
ZFORMS_API std::vector<SecretText> PasswordForms(const std::string& password);

}  // namespace zforms
