#pragma once

#include <unordered_map>
#include <vector>

#include "zforms/acroform/form_field.h"
#include "zforms/pdf/object_identifier.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZAcroForm;
class ZAcroFormField;
class ZPDFNode;
class ZPDFParser;

// Describes the fields of a form, in the order of its tree. Fields that are found only on pages (see
// ZAcroForm::SetPageFields) follow the other fields of their level. `sources` gets the field for each description.
ZFORMS_API std::vector<ZFormField> ReportFields(ZAcroForm& form, std::vector<const ZAcroFormField*>* sources = nullptr);

// Reads the values of the field again, into its report.
ZFORMS_API void ReportValues(const ZAcroFormField& field, ZFormField* report);

// Whether the field is a group of other fields. Kids without names are widgets of the field.
bool HasNamedKids(const ZAcroFormField& field);

// Maps values that have been read to the objects that contain them.
ZFORMS_API std::unordered_map<const ZPDFNode*, ZPDFObjectIdentifier> ObjectsByValue(const ZPDFParser& parser);

}  // namespace zforms
