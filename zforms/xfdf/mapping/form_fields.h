#pragma once

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

class ZAcroForm;
class ZAcroFormField;

// Finds the fields of a form that XFDF contains; for the sources of this folder.

// A field and its full name in XFDF, in UTF-8.
struct FormField {
  Chaine name;
  const ZAcroFormField* field;
};

// The fields that the form exports, in byte order of their names in the form: the fields with a name and without named
// kids. When several fields have the same full name and the first of them is marked no-export, all of them are left
// out.
PTableau<FormField> ExportedFields(const ZAcroForm& form);

// Loads the form; a UTF-8 password is tried twice, as PDF text and unchanged.
bool LoadForm(const Chaine& path, const Chaine& password, ZAcroForm* form);

// True when a document is loaded and its texts can be read.
bool IsReadable(const ZAcroForm& form);

}  // namespace zforms
