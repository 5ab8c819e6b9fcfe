#include "zforms/filling/form_drawing.h"

#include <algorithm>

#include "zforms/acroform/acro_form.h"
#include "zforms/calculation/field_scripts.h"
#include "zforms/filling/filling_guard.h"
#include "zforms/pdf/dictionary_node.h"

namespace zforms {

FormDrawing::FormDrawing(ZAcroForm& form, const ZDrawingFonts& fonts, const FillingGuard* guard,
                         const FieldScripts* scripts)
    : form_(form), guard_(guard != nullptr && guard->HasLocks() ? guard : nullptr), drawer_(form, fonts) {
  List(form.Fields(), false);
  if (scripts == nullptr || !scripts->HasFormats()) return;
  drawer_.SetShownValues([this, scripts](const ZAcroFormField& widget, const Chaine& value, ZShownValue* shown) {
    return Format(*scripts, widget, value, shown);
  });
}

FormDrawing::~FormDrawing() = default;

// Kids without a name are widgets of the field above them. Recursion is safe: the depth of the tree is bounded.
void FormDrawing::List(ZAcroFormFieldCollection& fields, bool are_kids) {
  for (uint32_t i = 0; i < fields.Size(); i++) {
    ZAcroFormField* const field = fields.GetAt(i);
    if (!are_kids || !field->Name().IsEmpty()) {
      places_.emplace(field, fields_.size());
      fields_.push_back(field);
    }
    List(*field, true);
  }
}

bool FormDrawing::Draw(PTableau<ZAcroFormField*> changed, ZFormMessages* messages) {
  if (form_.NeedAppearances()) return DrawAll(messages);
  const auto place_of = [this](const ZAcroFormField* field) { return places_.find(field)->second; };
  std::erase_if(changed, [this](const ZAcroFormField* field) { return !places_.contains(field); });
  std::sort(changed.begin(), changed.end(), [&](auto* a, auto* b) { return place_of(a) < place_of(b); });
  changed.erase(std::unique(changed.begin(), changed.end()), changed.end());
  return DrawEach(changed, messages);
}

bool FormDrawing::DrawAll(ZFormMessages* messages) {
  const bool is_complete = DrawEach(fields_, messages);
  if (!form_.NeedAppearances()) return is_complete;
  if (is_complete) {
    form_.Infos()->Dico()->RemoveValue("/NeedAppearances");
  } else {
    RenewRequest(form_);
    messages->push_back({ZFormMessage::Severity::kNote, ZFormMessage::About::kForm,
                         "some fields could not be drawn, so the form still asks viewers to draw its fields"});
  }
  return is_complete;
}

void FormDrawing::RenewRequest(ZAcroForm& form) {
  form.Infos()->Dico()->RemoveValue("/NeedAppearances");
  form.SetNeedAppearances(true);
}

void FormDrawing::Restart() {
  drawer_.Restart();
  said_ = 0;
}

bool FormDrawing::Format(const FieldScripts& scripts, const ZAcroFormField& widget, const Chaine& value,
                         ZShownValue* shown) {
  const ValueFormat* const format = scripts.FormatOf(widget);
  if (format == nullptr) return false;
  const auto formatted = format->Apply(value);
  if (formatted) {
    *shown = {formatted->text, formatted->is_red};
    return true;
  }
  const std::string text = "field \"" + widget.FullNameUTF8().ToString() + "\": \"" + value.ToString() + "\" is not " +
                           format->What() + ", and is shown as it is";
  // Gives one warning when several widgets show the value.
  if (unfit_ == text) return false;
  unfit_ = text;
  unfit_values_.push_back({ZFormMessage::Severity::kWarning, ZFormMessage::About::kForm, text});
  return false;
}

bool FormDrawing::DrawEach(const PTableau<ZAcroFormField*>& fields, ZFormMessages* messages) {
  bool is_complete = true;
  for (ZAcroFormField* field : fields) {
    if (guard_ == nullptr || guard_->LockOf(field->FullNameUTF8()).IsEmpty()) is_complete &= drawer_.Draw(*field);
  }
  is_complete = drawer_.Finish() && is_complete;
  const ZDiagnostics::WarningList& warnings = drawer_.Diagnostics().Warnings();
  messages->insert(messages->end(), unfit_values_.begin(), unfit_values_.end());
  unfit_values_.clear();
  unfit_.clear();
  for (; said_ < warnings.Size(); said_++) {
    messages->push_back(
        {ZFormMessage::Severity::kWarning, ZFormMessage::About::kForm, warnings[said_].text.ToString()});
  }
  return is_complete;
}

}  // namespace zforms
