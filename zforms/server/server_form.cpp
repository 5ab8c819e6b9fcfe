#include "zforms/server/server_form.h"

#include "zforms/pdf/dictionary_node.h"
#include "zforms/server/xfdf_handler.h"

namespace zforms {
namespace {

// Clears the permissions that filling in does not need: bits 3 to 6 and 10 to 12 of ISO 32000-1 table 22, for printing,
// changing, copying, annotating and related actions.
constexpr uint32_t kModifyPermissions = 0xFFFFF1C3;

bool IsButtonOf(const ZAcroFormField& field, ZDocument::Status status) {
  if (!field.IsSubmitFormButton() || !field.HasOwnAction()) return false;
  const ZAcroFormAction& action = *field.GetAction();
  return action.HasURL() && ZAcroFormServerXFDFHandler::GetDisplayMode(action.URL()) == status;
}

template <class Map, class Fields>
Map ButtonsOf(const Fields& fields, ZDocument::Status status) {
  Map buttons;
  for (const auto& [name, same] : fields) {
    for (auto* field : same) {
      if (IsButtonOf(*field, status)) buttons[name].push_back(field);
    }
  }
  return buttons;
}

// True when the field or one of its widgets submits the form.
bool Submits(const ZAcroFormField& field) {
  if (field.IsSubmitFormButton()) return true;
  for (uint32_t i = 0; i < field.Size(); i++) {
    if (!field.GetAt(i)->HasName() && Submits(*field.GetAt(i))) return true;
  }
  return false;
}

// Makes the fields read-only, except those that submit the form. `inherited` are the flags that the fields inherited
// before the change: a field without its own flags gets these with the read-only bit, because the flags above it change
// too.
void SetReadOnlyBelow(ZAcroFormFieldCollection& fields, uint32_t inherited) {
  for (uint32_t i = 0; i < fields.Size(); i++) {
    ZAcroFormField& field = *fields.GetAt(i);
    const uint32_t before = field.HasOwnFlags() ? field.Flags() : inherited;
    if (!Submits(field)) {
      field.SetFlags(before | ZAcroFormField::kReadOnlyFlag);
      SetReadOnlyBelow(field, before);
    } else if (!field.HasOwnFlags() && field.HasParent() && (before & ZAcroFormField::kReadOnlyFlag) == 0) {
      field.Dico()->SetValue("/Ff", before);
    }
  }
}

}  // namespace

ZAcroFormServerForm::ZAcroFormServerForm() { SetPageFields(true); }

ZAcroFormServerForm::~ZAcroFormServerForm() = default;

ZAcroForm::FieldMap ZAcroFormServerForm::FindSubmitFormButtons(ZDocument::Status status) {
  return ButtonsOf<FieldMap>(FlatFields(), status);
}

ZAcroForm::ConstFieldMap ZAcroFormServerForm::FindSubmitFormButtons(ZDocument::Status status) const {
  return ButtonsOf<ConstFieldMap>(FlatFields(), status);
}

bool ZAcroFormServerForm::HasSubmitFormButton(ZDocument::Status status) const {
  return FindSubmitFormButtons(status).Size() != 0;
}

void ZAcroFormServerForm::SetSubmitURL(ZDocument::Status status, const ZInetURL& url) {
  for (const auto& [name, buttons] : FindSubmitFormButtons(status)) {
    for (Field* button : buttons) button->GetAction()->SetURL(url);
  }
}

void ZAcroFormServerForm::ShowButtons(ZDocument::Status status, bool show) {
  for (const auto& [name, buttons] : FindSubmitFormButtons(status)) ShowFields(buttons, show);
}

void ZAcroFormServerForm::SetDisplayMode(ZDocument::Status status) {
  ShowButtons(ZDocument::eModify, status == ZDocument::eModify);
  ShowButtons(ZDocument::eConsult, status == ZDocument::eConsult);
  if (status != ZDocument::eModify) return SetReadOnlyBelow(Fields(), 0);
  SetStandardUserFlags(StandardUserFlags() & kModifyPermissions);
  if (ViewerInfos* const viewer = ViewerPreferences()) {
    viewer->SetHideMenubar(true);
    viewer->SetHideToolbar(true);
  }
}

}  // namespace zforms
