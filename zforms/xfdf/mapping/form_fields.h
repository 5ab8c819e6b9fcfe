#pragma once

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

class ZAcroForm;
class ZAcroFormField;

// The fields of a form that take part in XFDF, for this layer's sources.

// A field under the full name that it has in XFDF, in UTF-8.
struct FormField {
  Chaine name;
  const ZAcroFormField* field;
};

// The fields that the form exports, in byte order of the names as the form has
// them: those that have a name of their own and no named kids. Of several with the
// same full name the first decides; it is left out when it is marked no-export.
PTableau<FormField> ExportedFields(const ZAcroForm& form);

// Loads the form; a password of UTF-8 is tried as PDF text and as it is.
bool LoadForm(const Chaine& path, const Chaine& password, ZAcroForm* form);

// Whether a document is loaded whose texts can be read.
bool IsReadable(const ZAcroForm& form);

}  // namespace zforms
