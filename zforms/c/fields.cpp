#include "zforms/acroform/acro_form.h"
#include "zforms/acroform/field_report.h"
#include "zforms/c/form_handle.h"

using zforms::ZFormField;
using zforms::c::CopyText;
using zforms::c::Fail;
using zforms::c::Guarded;

namespace {

// The n-th text of a part; null when there is none.
const std::string* TextOf(const ZFormField& field, zforms_field_part part, size_t n) {
  const auto at = [n](const std::vector<std::string>& texts) { return n < texts.size() ? &texts[n] : nullptr; };
  const ZFormField::Option* const option = n < field.options.size() ? &field.options[n] : nullptr;
  switch (part) {
    case ZFORMS_FIELD_NAME: return &field.name;
    case ZFORMS_FIELD_LABEL: return &field.label;
    case ZFORMS_FIELD_VALUE: return at(field.values);
    case ZFORMS_FIELD_DEFAULT: return at(field.defaults);
    case ZFORMS_FIELD_OPTION_VALUE: return option == nullptr ? nullptr : &option->value;
    case ZFORMS_FIELD_OPTION_TEXT: return option == nullptr ? nullptr : &option->text;
    case ZFORMS_FIELD_STATE: return at(field.states);
  }
  return nullptr;
}

zforms_status FailUnknown(zforms_form* form, const std::string& name) {
  return Fail(form, ZFORMS_ERROR_NOT_FOUND, "no field is named \"" + name + "\"");
}

// Calls `use` with the field at that index.
template <class Use>
zforms_status WithField(zforms_form* form, size_t index, Use use) {
  return Guarded(form, [&] {
    const std::vector<ZFormField>& fields = form->ReadFields().reports;
    if (index < fields.size()) return use(fields[index]);
    return Fail(form, ZFORMS_ERROR_NOT_FOUND, "there is no field at that index");
  });
}

}  // namespace

const zforms_form::Fields& zforms_form::ReadFields() {
  if (fields.are_read || form.Document().Parser() == nullptr) return fields;
  fields.reports = zforms::ReportFields(form.Document(), &fields.sources);
  for (size_t i = 0; i < fields.reports.size(); i++) fields.by_name[fields.reports[i].name].push_back(i);
  fields.are_read = true;
  return fields;
}

void zforms_form::RefreshFields(const std::string& name) {
  const auto found = fields.by_name.find(name);
  if (found == fields.by_name.end()) return;
  for (const size_t i : found->second) zforms::ReportValues(*fields.sources[i], &fields.reports[i]);
}

extern "C" {

zforms_status zforms_field_count(zforms_form* form, size_t* count) {
  return Guarded(form, [&] {
    if (count == nullptr) return ZFORMS_ERROR_ARGUMENT;
    *count = form->ReadFields().reports.size();
    return ZFORMS_OK;
  });
}

zforms_status zforms_find_field(zforms_form* form, const char* name, size_t* index) {
  return Guarded(form, [&] {
    if (name == nullptr || index == nullptr) return ZFORMS_ERROR_ARGUMENT;
    const auto& by_name = form->ReadFields().by_name;
    const auto found = by_name.find(name);
    if (found == by_name.end()) return FailUnknown(form, name);
    *index = found->second.front();
    return ZFORMS_OK;
  });
}

zforms_status zforms_get_field(zforms_form* form, size_t index, zforms_field* field) {
  return WithField(form, index, [&](const ZFormField& from) {
    if (field == nullptr || field->size != sizeof(zforms_field)) return ZFORMS_ERROR_ARGUMENT;
    *field = {field->size,         static_cast<zforms_kind>(from.kind),
              from.flags,          from.Page(),
              from.max_length,     from.IsExported() ? 1 : 0,
              from.values.size(),  from.defaults.size(),
              from.options.size(), from.states.size(),
              from.widgets.size()};
    return ZFORMS_OK;
  });
}

zforms_status zforms_field_text(zforms_form* form, size_t index, zforms_field_part part, size_t n, char* buffer,
                                size_t size, size_t* length) {
  return WithField(form, index, [&](const ZFormField& field) {
    if (part < ZFORMS_FIELD_NAME || part > ZFORMS_FIELD_STATE) return ZFORMS_ERROR_ARGUMENT;
    const std::string* const text = TextOf(field, part, n);
    if (text != nullptr) return CopyText(*text, buffer, size, length);
    return Fail(form, ZFORMS_ERROR_NOT_FOUND, "field \"" + field.name + "\" has no text of this kind at that index");
  });
}

zforms_status zforms_get_widget(zforms_form* form, size_t index, size_t n, zforms_widget* widget) {
  return WithField(form, index, [&](const ZFormField& field) {
    if (widget == nullptr) return ZFORMS_ERROR_ARGUMENT;
    if (n >= field.widgets.size()) {
      return Fail(form, ZFORMS_ERROR_NOT_FOUND, "field \"" + field.name + "\" has no widget at that index");
    }
    const ZFormField::Widget& from = field.widgets[n];
    *widget = {from.page, from.left, from.bottom, from.right, from.top};
    return ZFORMS_OK;
  });
}

zforms_status zforms_get_value(zforms_form* form, const char* name, char* buffer, size_t size, size_t* length) {
  size_t index = 0;
  const zforms_status status = zforms_find_field(form, name, &index);
  if (status != ZFORMS_OK) return status;
  return WithField(form, index, [&](const ZFormField& field) { return CopyText(field.Value(), buffer, size, length); });
}

zforms_status zforms_set_value(zforms_form* form, const char* name, const char* value) {
  return zforms_set_values(form, name, &value, 1);
}

zforms_status zforms_set_values(zforms_form* form, const char* name, const char* const* values, size_t count) {
  return Guarded(form, [&] {
    if (name == nullptr || values == nullptr || count == 0) return ZFORMS_ERROR_ARGUMENT;
    std::vector<std::string> texts;
    for (size_t i = 0; i < count; i++) {
      if (values[i] == nullptr) return ZFORMS_ERROR_ARGUMENT;
      texts.emplace_back(values[i]);
    }
    form->pending.Drop();
    const bool taken = form->form.SetValues(name, texts);
    form->RefreshFields(name);
    const zforms_status status = form->Finish(taken);
    const bool is_unknown = status == ZFORMS_ERROR_DATA && !form->ReadFields().by_name.contains(name);
    return is_unknown ? ZFORMS_ERROR_NOT_FOUND : status;
  });
}

}  // extern "C"
