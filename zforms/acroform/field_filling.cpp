#include "zforms/acroform/field_filling.h"

#include "zforms/acroform/field.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

bool SetText(ZAcroFormField& field, const Chaine& utf8, LineEnds line_ends) {
  const Chaine before = field.ValueUTF8();
  if (line_ends == LineEnds::kKept ? IsSameText(before, utf8) : before == utf8) return false;
  field.SetValue(UTF8ToPDFText(utf8));
  return true;
}

bool HasLineEnds(const Chaine& text) { return text.View().find_first_of("\r\n") != std::string_view::npos; }

}  // namespace

bool IsSameText(const Chaine& a, const Chaine& b) {
  if (a == b) return true;
  return HasLineEnds(a) && HasLineEnds(b) && WithLF(a) == WithLF(b);
}

Chaine WithLF(const Chaine& text) {
  return text.View().find('\r') == std::string_view::npos ? text : WithLineEnds(text, "\n");
}

void FillText(ZAcroFormField& field, const Chaine& utf8, bool has_rich_text, LineEnds line_ends) {
  const bool changed = SetText(field, utf8, line_ends);
  // Also fills in the widgets that have their own value: they would still show the old one.
  for (ZAcroFormField* widget : field.Widgets()) {
    if (widget != &field && widget->HasOwnValue()) SetText(*widget, utf8, line_ends);
  }
  // Removes the rich text of the old value, which viewers would still show.
  if (changed && !has_rich_text) field.Dico()->RemoveValue("/RV");
}

}  // namespace zforms
