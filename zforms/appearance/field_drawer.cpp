#include "zforms/appearance/field_drawer.h"

#include "zforms/acroform/acro_form.h"
#include "zforms/appearance/form_fonts.h"
#include "zforms/appearance/widget_drawer.h"

namespace zforms {

struct ZFieldDrawer::Hidden {
  explicit Hidden(ZAcroForm& drawn) : form(drawn), fonts(drawn.Parser()), widgets(drawn.Parser(), fonts, &notes) {}

  bool DrawBelow(ZAcroFormFieldCollection& fields) {
    bool is_complete = true;
    for (uint32_t i = 0; i < fields.Size(); i++) {
      ZAcroFormField& field = *fields.GetAt(i);
      if (field.IsWidget()) is_complete &= widgets.Draw(field, i);
      is_complete &= DrawBelow(field);
    }
    return is_complete;
  }

  ZAcroForm& form;
  ZDiagnostics notes;
  FormFonts fonts;
  WidgetDrawer widgets;
};

ZFieldDrawer::ZFieldDrawer(ZAcroForm& form) {
  // A form that is not loaded has no fields to draw.
  if (form.Parser() != nullptr) hidden_ = std::make_unique<Hidden>(form);
}

ZFieldDrawer::~ZFieldDrawer() = default;

bool ZFieldDrawer::Draw(ZAcroFormField& field) {
  if (hidden_ == nullptr) return false;
  bool is_complete = true;
  size_t index = 0;
  for (ZAcroFormField* widget : field.Widgets()) is_complete &= hidden_->widgets.Draw(*widget, index++);
  return is_complete;
}

bool ZFieldDrawer::DrawAll() {
  if (hidden_ == nullptr) return false;
  const bool is_complete = hidden_->DrawBelow(hidden_->form.Fields());
  return Finish() && is_complete;
}

bool ZFieldDrawer::Finish() {
  if (hidden_ == nullptr || hidden_->fonts.Finish()) return true;
  hidden_->notes.Warn("a font cannot be embedded: texts that were drawn in it are not seen");
  return false;
}

const ZDiagnostics& ZFieldDrawer::Diagnostics() const {
  static const ZDiagnostics kNothing;
  return hidden_ == nullptr ? kNothing : hidden_->notes;
}

}  // namespace zforms
