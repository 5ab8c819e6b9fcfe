#include "zforms/xfdf/mapping/mapper.h"

#include <algorithm>

#include "zforms/platform/data/field_set.h"

namespace zforms {
namespace {

// Adds the name and the names of the fields above it.
void AddWithAncestors(const Chaine& name, PUniqueT<Chaine>* names) {
  names->Add(name);
  // Ignores dots beyond this length: longer names cannot match a listed field.
  const std::string_view front = name.View().substr(0, ZXFDFFieldCollection::kMaxFullName);
  for (size_t dot = front.find('.'); dot != std::string_view::npos; dot = front.find('.', dot + 1)) {
    names->Add(name.Mid(0, dot));
  }
}

// Removes every field whose full name is not in `kept`. `prefix` is the start of the full names of these fields.
// Recurses only into kept fields, so never deeper than the names.
void RemoveOthers(ZXFDFFieldCollection& fields, const Chaine& prefix, const PUniqueT<Chaine>& kept) {
  PTableau<Chaine> others;
  for (unsigned int i = 0; i < fields.Size(); i++) {
    const Chaine name = fields[i].Name();
    const Chaine full_name = prefix + name;
    if (!kept.Exist(full_name)) {
      others.push_back(name);
    } else if (fields[i].Size() != 0) {
      RemoveOthers(fields[i], full_name + ".", kept);
    }
  }
  for (const Chaine& name : others) {
    // Repeats the call, because several fields may have this name.
    while (fields.RemoveField(name)) {
    }
  }
}

void SetOnlyValue(ZXFDFField& field, const ZVariant& value) {
  const Chaine former = field.ValuesAsText();
  if (field.Values().size() > 1) field.SetValues({Chaine()});
  field = value;
  if (!field.HasValueRichText() || former == value.AsChaine()) return;
  // Removes the rich text: viewers would show it in place of the new value.
  ZXMLElement& rich_text = field.ValueRichText();
  rich_text.parent->Remove(rich_text);
}

}  // namespace

ZXFDFMapper::ZXFDFMapper() = default;
ZXFDFMapper::ZXFDFMapper(const ZXFDFMapper&) = default;
ZXFDFMapper& ZXFDFMapper::operator=(const ZXFDFMapper&) = default;
ZXFDFMapper::~ZXFDFMapper() = default;

void ZXFDFMapper::AddRubric(const Chaine& name, const ZFieldSet* fields) { rubrics_.Set(name, fields); }

const ZFieldSet* ZXFDFMapper::Rubric(const Chaine& name) const {
  const ZFieldSet* const* fields = rubrics_.Find(name);
  return fields == nullptr ? nullptr : *fields;
}

void ZXFDFMapper::DeclareMap(const Chaine& xfdf_name, const Chaine& rubric, const Chaine& field) {
  if (rubrics_.Exist(rubric)) {
    maps_.Set(xfdf_name, {rubric, field});
  } else {
    DeclareUnmapped(xfdf_name);
  }
}

void ZXFDFMapper::DeclareMap(const Chaine& xfdf_name, const Chaine& reference) {
  const size_t dot = reference.View().find('.');
  if (dot == std::string_view::npos) {
    DeclareUnmapped(xfdf_name);
  } else {
    DeclareMap(xfdf_name, reference.Mid(0, dot), reference.Mid(dot + 1));
  }
}

void ZXFDFMapper::DeclareUnmapped(const Chaine& xfdf_name) { maps_.Set(xfdf_name, {}); }

void ZXFDFMapper::ReadMaps(MapStorage& storage, bool known_rubrics_only) {
  Chaine name, reference;
  for (storage.Reset(); storage.Next(name, reference);) {
    const bool known = !reference.IsEmpty() && rubrics_.Exist(reference.View().substr(0, reference.View().find('.')));
    if (known || !known_rubrics_only) DeclareMap(name, reference);
  }
}

void ZXFDFMapper::ReadMapsIni(const Chaine& ini_path, const Chaine& section, const Chaine& default_rubric,
                              bool known_rubrics_only) {
  MapStorageIni storage(ini_path, section, default_rubric);
  ReadMaps(storage, known_rubrics_only);
}

void ZXFDFMapper::ReadMapsPDF(const Chaine& pdf_path, const Chaine& default_rubric, const Chaine& password,
                              bool known_rubrics_only) {
  MapStoragePDF storage(pdf_path, default_rubric, password);
  ReadMaps(storage, known_rubrics_only);
}

void ZXFDFMapper::ReadMapsPDF(const ZAcroForm& form, const Chaine& default_rubric, bool known_rubrics_only) {
  MapStoragePDF storage(form, default_rubric);
  ReadMaps(storage, known_rubrics_only);
}

const ZField* ZXFDFMapper::GetDataFieldFor(const Chaine& xfdf_name) const {
  const DataFieldRef* reference = maps_.Find(xfdf_name);
  return reference == nullptr ? nullptr : DataFieldOf(*reference);
}

const ZField* ZXFDFMapper::DataFieldOf(const DataFieldRef& reference) const {
  if (!reference.IsMapped()) return nullptr;
  const ZFieldSet* fields = Rubric(reference.rubric);
  return fields == nullptr ? nullptr : fields->Find(reference.field);
}

void ZXFDFMapper::SyncFieldListOf(ZXFDF& xfdf) const {
  PUniqueT<Chaine> kept;
  AddWithAncestors(ZXFDF::kSessionIDField, &kept);
  for (const auto& [name, reference] : maps_) AddWithAncestors(name, &kept);
  RemoveOthers(xfdf.Fields(), Chaine(), kept);
  for (const auto& [name, reference] : maps_) xfdf.Fields().AddField(name);
}

void ZXFDFMapper::ExtractTo(ZXFDF& xfdf, bool sync) const {
  if (sync) SyncFieldListOf(xfdf);
  for (const auto& [name, reference] : maps_) {
    const ZField* data = DataFieldOf(reference);
    ZXFDFField* field = data == nullptr ? nullptr : xfdf.Fields().Get(name);
    if (field != nullptr) SetOnlyValue(*field, *data);
  }
}

size_t ZXFDFMapper::ImportFrom(const ZXFDF& xfdf, PTableau<Chaine>* misfits) const {
  size_t imported = 0;
  for (const auto& [name, reference] : maps_) {
    const ZField* data = DataFieldOf(reference);
    const ZXFDFField* field = data == nullptr || !xfdf.HasFields() ? nullptr : xfdf.Fields().Get(name);
    if (field == nullptr || !field->HasValue()) continue;
    if (data->Set(field->ValuesAsText())) {
      imported++;
    } else if (misfits != nullptr) {
      misfits->push_back(name);
    }
  }
  return imported;
}

void ZXFDFMapper::AttachBuffersOf(ZXFDF& xfdf) const {
  if (!xfdf.HasFields()) return;
  for (const auto& [name, reference] : maps_) {
    if (const ZField* data = DataFieldOf(reference)) xfdf.AttachBuffer(name, data->Buffer());
  }
}

ZXFDF ZXFDFMapper::CreateXFDF(const ZInetURL& pdf_href, const Chaine& id1, const Chaine& id2) const {
  ZXFDF xfdf;
  xfdf.SetPDFHRef(pdf_href);
  if (!id1.IsEmpty() || !id2.IsEmpty()) xfdf.SetIDS(id1, id2);
  ExtractTo(xfdf, true);
  return xfdf;
}

}  // namespace zforms
