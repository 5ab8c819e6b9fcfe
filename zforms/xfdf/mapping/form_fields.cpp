#include "zforms/xfdf/mapping/form_fields.h"

#include <algorithm>

#include "zforms/acroform/acro_form.h"
#include "zforms/acroform/field.h"
#include "zforms/acroform/field_report.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/platform/text/text.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {

PTableau<FormField> ExportedFields(const ZAcroForm& form) {
  PTableau<FormField> exported;
  for (const auto& [bytes, fields] : form.FlatFields()) {
    const auto first = std::find_if(fields.begin(), fields.end(), [](const ZAcroFormField* field) {
      return !field->Name().IsEmpty() && !HasNamedKids(*field);
    });
    if (first == fields.end() || (*first)->IsNoExport()) continue;
    exported.push_back({(*first)->FullNameUTF8(), *first});
  }
  return exported;
}

bool LoadForm(const Chaine& path, const Chaine& password, ZAcroForm* form) {
  const Chaine encoded = UTF8ToPDFText(password);
  return form->Load(path, encoded) || (encoded != password && form->Load(path, password));
}

bool IsReadable(const ZAcroForm& form) {
  if (form.Parser() == nullptr) return false;
  return form.EncryptionLoad() == nullptr || form.EncryptionLoad()->CanBeDecrypted();
}

bool ZXFDF::CreateFieldsFromLocalPDF(const ZAcroForm& form) {
  if (!IsReadable(form)) return false;
  for (const FormField& field : ExportedFields(form)) Fields().AddField(field.name);
  return true;
}

bool ZXFDF::CreateFieldsFromLocalPDF(const Chaine& path, const Chaine& password) {
  ZAcroForm form;
  return LoadForm(path, password, &form) && CreateFieldsFromLocalPDF(form);
}

}  // namespace zforms
