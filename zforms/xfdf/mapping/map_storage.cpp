#include "zforms/xfdf/mapping/map_storage.h"

#include "zforms/acroform/acro_form.h"
#include "zforms/acroform/field.h"
#include "zforms/platform/text/text.h"
#include "zforms/xfdf/mapping/form_fields.h"

namespace zforms {
namespace {

bool HasRubric(const Chaine& reference) { return reference.View().find('.') != std::string_view::npos; }

Chaine WithDefaultRubric(const Chaine& reference, const Chaine& rubric) {
  if (rubric.IsEmpty() || reference.IsEmpty() || HasRubric(reference)) return reference;
  return rubric + "." + reference;
}

}  // namespace

ZXFDFMapStorage::~ZXFDFMapStorage() = default;
ZXFDFMapStorageDictionnary::~ZXFDFMapStorageDictionnary() = default;
ZXFDFMapStoragePDF::~ZXFDFMapStoragePDF() = default;
ZXFDFMapStorageIni::~ZXFDFMapStorageIni() = default;

bool ZXFDFMapStorageDictionnary::Next(Chaine& xfdf_name, Chaine& reference) {
  if (next_ >= entries_.Size()) return false;
  const FDictionnary<Chaine>::Item& entry = entries_.At(next_++);
  xfdf_name = entry.first;
  reference = entry.second;
  return true;
}

ZXFDFMapStoragePDF::ZXFDFMapStoragePDF(const Chaine& path, const Chaine& default_rubric, const Chaine& password) {
  ZAcroForm form;
  if (LoadForm(path, password, &form)) {
    ReadForm(form, default_rubric);
  } else {
    last_error_ = form.Diagnostics().Failure().ToString();
  }
}

ZXFDFMapStoragePDF::ZXFDFMapStoragePDF(const ZAcroForm& form, const Chaine& default_rubric) {
  ReadForm(form, default_rubric);
}

void ZXFDFMapStoragePDF::ReadForm(const ZAcroForm& form, const Chaine& default_rubric) {
  if (!IsReadable(form)) {
    last_error_ = "no document is loaded";
    return;
  }
  for (const FormField& field : ExportedFields(form)) {
    const Chaine reference = WithDefaultRubric(PDFTextToUTF8(field.field->MappingName()), default_rubric);
    Entries().Set(field.name, HasRubric(reference) ? reference : Chaine());
  }
}

ZXFDFMapStorageIni::ZXFDFMapStorageIni(const Chaine& path, const Chaine& section, const Chaine& default_rubric)
    : default_rubric_(default_rubric) {
  ZIniFile file;
  if (!file.Open(path)) {
    last_error_ = file.LastError();
  } else if (!file.SectionExist(section)) {
    last_error_ = file.SectionNames().empty() ? "the file has no section (a line such as [Map])"
                                              : "the file has no section [" + section.ToString() + "]";
  } else {
    lines_ = file.Section(section);
  }
}

bool ZXFDFMapStorageIni::Next(Chaine& xfdf_name, Chaine& reference) {
  if (next_ >= lines_.GetNamedLinesNB()) return false;
  xfdf_name = lines_.GetLineName(next_++);
  reference = WithDefaultRubric(lines_.NamedLine(xfdf_name), default_rubric_);
  return true;
}

}  // namespace zforms
