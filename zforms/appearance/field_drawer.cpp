#include "zforms/appearance/field_drawer.h"

#include <optional>
#include <utility>

#include "zforms/acroform/acro_form.h"
#include "zforms/appearance/form_fonts.h"
#include "zforms/appearance/widget_drawer.h"

namespace zforms {

struct ZFieldDrawer::Hidden {
  Hidden(ZAcroForm& drawn, const std::shared_ptr<FontLibrary>& library)
      : form(drawn), added(drawn.Parser()), fonts(&added, library) {
    widgets.emplace(&added, fonts, &notes, &shown_of);
  }

  void Restart() {
    notes.Clear();
    widgets.emplace(&added, fonts, &notes, &shown_of, &known);
    fonts.Restart();
    added.Restart();
  }

  bool Draw(ZAcroFormField& field) {
    bool is_complete = true;
    size_t index = 0;
    for (ZAcroFormField* widget : field.Widgets()) is_complete &= widgets->Draw(*widget, index++);
    return is_complete;
  }

  // Draws the fields and those below them. Skips kids without a name: they are widgets, and are drawn with their field.
  bool DrawBelow(ZAcroFormFieldCollection& fields, bool are_kids) {
    bool is_complete = true;
    for (uint32_t i = 0; i < fields.Size(); i++) {
      ZAcroFormField& field = *fields.GetAt(i);
      if (!are_kids || !field.Name().IsEmpty()) is_complete &= Draw(field);
      is_complete &= DrawBelow(field, true);
    }
    return is_complete;
  }

  ZAcroForm& form;
  ShownValueOf shown_of;
  ZDiagnostics notes;
  AddedObjects added;
  FormFonts fonts;
  KnownWidgets known;  // filled after the first Restart: only then are the widgets drawn again
  std::optional<WidgetDrawer> widgets;
};

ZFieldDrawer::ZFieldDrawer(ZAcroForm& form, const ZDrawingFonts& fonts) {
  // A form that is not loaded has no fields to draw.
  if (form.Parser() != nullptr) hidden_ = std::make_unique<Hidden>(form, fonts.library_);
}

ZFieldDrawer::~ZFieldDrawer() = default;

void ZFieldDrawer::SetShownValues(ShownValueOf shown_of) {
  if (hidden_ != nullptr) hidden_->shown_of = std::move(shown_of);
}

bool ZFieldDrawer::Draw(ZAcroFormField& field) { return hidden_ != nullptr && hidden_->Draw(field); }

bool ZFieldDrawer::DrawAll() {
  if (hidden_ == nullptr) return false;
  const bool is_complete = hidden_->DrawBelow(hidden_->form.Fields(), false);
  return Finish() && is_complete;
}

bool ZFieldDrawer::Finish() {
  if (hidden_ == nullptr || hidden_->fonts.Finish()) return true;
  hidden_->notes.Warn("a font cannot be embedded, so texts that were drawn in it are not visible");
  return false;
}

std::span<ZPDFNodeIndirectObject* const> ZFieldDrawer::Added() const {
  return hidden_ == nullptr ? std::span<ZPDFNodeIndirectObject* const>() : hidden_->added.Used();
}

void ZFieldDrawer::Restart() {
  if (hidden_ != nullptr) hidden_->Restart();
}

const ZDiagnostics& ZFieldDrawer::Diagnostics() const {
  static const ZDiagnostics kNothing;
  return hidden_ == nullptr ? kNothing : hidden_->notes;
}

}  // namespace zforms
