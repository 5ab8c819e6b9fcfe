#include "zforms/appearance/button_drawing.h"

#include <algorithm>

#include "zforms/acroform/field.h"
#include "zforms/appearance/value_text.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

// Codes of ZapfDingbats: a check mark and a circle.
constexpr char kCheck = '4';
constexpr char kCircle = 'l';
constexpr double kMarkSize = 0.8;         // in parts of the shorter side; see docs/appearances.md
constexpr double kMarkHeight = 0.705;     // the height of ZapfDingbats' check mark, in parts of the font size
constexpr double kCircleRadius = 0.3165;  // the radius of ZapfDingbats' circle, in parts of the shorter side
constexpr std::string_view kOff = "Off";

const ZPDFNodeDictionary* DictionaryOf(const ZPDFNodeDictionary* holder, std::string_view key) {
  return holder == nullptr ? nullptr : NodeCast<ZPDFNodeDictionary>(holder->GetTarget(key));
}

Chaine NameWithoutSlash(const Chaine& name) { return !name.IsEmpty() && name[0] == '/' ? name.Mid(1) : name; }

bool IsOnState(const Chaine& state) { return !state.IsEmpty() && state != kOff; }

const ZPDFNodeDictionary* StatesOf(const ZAcroFormField& widget) {
  return DictionaryOf(DictionaryOf(widget.Dico(), "/AP"), "/N");
}

Chaine StateAt(const ZPDFNodeDictionary& states, size_t index) { return NameWithoutSlash(states.KeyAt(index)); }

// The name of the state "on": the one in "/AP", else the one in "/AS". Else a radio button gets its index, and a check
// box its value or "Yes".
Chaine OnStateOf(const ZAcroFormField& widget, bool is_radio, size_t index) {
  const ZPDFNodeDictionary* states = StatesOf(widget);
  for (size_t i = 0; states != nullptr && i < states->Size(); i++) {
    if (IsOnState(StateAt(*states, i))) return StateAt(*states, i);
  }
  const Chaine shown = NameWithoutSlash(widget.Dico()->GetIdentifier("/AS"));
  if (IsOnState(shown)) return shown;
  if (is_radio) return FormatUInt(index);
  const Chaine value = widget.Value();
  return IsOnState(value) ? value : Chaine("Yes");
}

char MarkCodeOf(const WidgetStyle& style, bool is_radio) {
  if (!style.caption.IsEmpty()) return style.caption[0];
  return is_radio ? kCircle : kCheck;
}

}  // namespace

bool ButtonDrawer::LacksLook(const ZAcroFormField& widget) {
  const ZPDFNodeDictionary* appearances = DictionaryOf(widget.Dico(), "/AP");
  const ZPDFNode* normal = appearances == nullptr ? nullptr : appearances->GetTarget("/N");
  return NodeCast<ZPDFNodeStream>(normal) == nullptr && NodeCast<ZPDFNodeDictionary>(normal) == nullptr;
}

bool ButtonDrawer::LacksStates(const ZAcroFormField& widget) {
  const ZPDFNodeDictionary* states = StatesOf(widget);
  for (size_t i = 0; states != nullptr && i < states->Size(); i++) {
    // Some files have an empty dictionary in place of the stream.
    const ZPDFNode* const look = states->ValueAt(i);
    const bool has_look = look != nullptr && NodeCast<ZPDFNodeStream>(look->GetTarget()) != nullptr;
    if (has_look && IsOnState(StateAt(*states, i))) return false;
  }
  return true;
}

void ButtonDrawer::DrawPush(WidgetDrawing& drawing) {
  drawing.style.Draw(drawing.out);
  const std::u32string caption = LineOfText(PDFTextToUTF8(drawing.style.caption), &drawing.missing);
  if (caption.empty() || drawing.look.font == nullptr) return;
  drawing.box.quadding = 1;
  std::vector<TextParagraph> paragraphs;
  paragraphs.push_back(fonts_.MakeParagraph(caption, drawing.look.font, &drawing.missing));
  paragraphs[0].Space(drawing.Spacing());
  const TextLayout layout = LayOutLine(paragraphs[0], drawing.box);
  drawing.characters = caption.size();
  drawing.left_out = layout.left_out;
  drawing.out.Operator("q");
  drawing.Clip();
  drawing.ShowText(paragraphs, layout);
  drawing.out.Operator("Q");
}

void ButtonDrawer::DrawStates(ZAcroFormField& widget, WidgetDrawing& drawing, size_t index) {
  const bool is_radio = widget.InheritedType() == ZAcroFormField::eRadioButton;
  const Chaine on = OnStateOf(widget, is_radio, index);
  const bool is_round = is_radio && MarkCodeOf(drawing.style, is_radio) == kCircle;
  const auto draw_ground = [&] {
    drawing.out = ContentWriter();
    drawing.fonts.clear();
    if (is_round) {
      drawing.style.DrawCircle(drawing.out);
    } else {
      drawing.style.Draw(drawing.out);
    }
  };
  draw_ground();
  DrawMark(drawing, is_radio);
  StoreState(widget, drawing, on);
  const ZPDFNodeDictionary* states = StatesOf(widget);
  if (states == nullptr || NodeCast<ZPDFNodeStream>(states->GetTarget("/Off")) == nullptr) {
    draw_ground();
    StoreState(widget, drawing, Chaine(kOff));
  }
  NameState(widget);
}

void ButtonDrawer::NameState(ZAcroFormField& widget) {
  const ZPDFNodeDictionary* const states = StatesOf(widget);
  if (states == nullptr || !widget.Dico()->GetIdentifier("/AS").IsEmpty()) return;
  const Chaine value = "/" + widget.Value();
  widget.Dico()->SetIdentifier("/AS", states->Exist(value) ? value : "/" + Chaine(kOff));
}

void ButtonDrawer::DrawMark(WidgetDrawing& drawing, bool is_radio) {
  const WidgetStyle& style = drawing.style;
  ContentWriter& out = drawing.out;
  const char code = MarkCodeOf(style, is_radio);
  const double side = std::min(style.width, style.height);
  if (!drawing.look.color.IsEmpty()) {
    out.Raw(drawing.look.color).Raw("\n");
  } else {
    out.Operator("g", {0});
  }
  if (code == kCircle) {
    FillCircle(out, style.width / 2, style.height / 2, side * kCircleRadius);
    return;
  }
  std::optional<MarkGlyph> mark = fonts_.MarkOf(drawing.widget, static_cast<uint8_t>(code));
  if (!mark) mark = fonts_.MarkOf(drawing.widget, static_cast<uint8_t>(kCheck));
  if (!mark) return;
  const double size = drawing.look.size > 0 ? drawing.look.size : side * kMarkSize;
  out.BeginText();
  out.SetFont(mark->font->ResourceName(), size);
  out.MoveTo((style.width - mark->glyph.width * size / 1000) / 2, (style.height - kMarkHeight * size) / 2);
  out.Show({{&mark->glyph, 1}, {}, 0, false});
  out.EndText();
  drawing.AddFont(mark->font);
}

void ButtonDrawer::StoreState(ZAcroFormField& widget, WidgetDrawing& drawing, const Chaine& state) {
  store_.SetState(widget.Dico(), state, {&drawing.style, nullptr, drawing.out.Take(), drawing.fonts, &drawing.look});
}

}  // namespace zforms
