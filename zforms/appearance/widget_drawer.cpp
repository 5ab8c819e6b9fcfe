#include "zforms/appearance/widget_drawer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "zforms/acroform/field.h"
#include "zforms/appearance/inherited_entry.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/parser/stream_filters.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/platform/base/diagnostics.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/text/characters.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

constexpr size_t kWorkOfDocument = 256 << 20;
constexpr size_t kWorkOfByte = 64;
constexpr size_t kWorkOfWritten = 16;
constexpr size_t kMostValue = 16 << 20;
// At most this many missing characters of a field are named; the others are counted.
constexpr size_t kMostNamed = 8;

// The beginning of a message about a field.
Chaine NameOf(const ZAcroFormField& widget) { return "field \"" + widget.FullNameUTF8() + "\": "; }

uint32_t MaxLengthOf(const ZAcroFormField& widget) {
  const ZPDFNode* length = InheritedEntry(widget, "/MaxLen");
  return length == nullptr || length->GetIntValue() < 0 ? 0 : length->GetUIntValue();
}

Chaine CharacterName(char32_t c) {
  std::array<char, 8> digits;
  const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), static_cast<uint32_t>(c), 16).ptr;
  Chaine number;
  for (const char* digit = digits.data(); digit < end; digit++) {
    number += *digit >= 'a' ? static_cast<char>(*digit - 'a' + 'A') : *digit;
  }
  while (number.size() < 4) number = "0" + number;
  // Returns only the code of a control character, which is not visible.
  if (c < 32 || (c >= 0x7F && c < 0xA0)) return "U+" + number;
  Chaine name = "\"";
  AppendUTF8(&name, c);
  return name + "\" (U+" + number + ")";
}

void AddApart(ContentWriter& out, const std::string& content) {
  const auto is_blank = [](char c) { return c == ' ' || c == '\n' || c == '\r'; };
  if (!content.empty() && !out.Text().empty() && !is_blank(out.Text().back()) && !is_blank(content.front())) {
    out.Raw("\n");
  }
  out.Raw(content);
}

}  // namespace

WidgetDrawer::WidgetDrawer(AddedObjects* added, FieldFonts& fonts, ZDiagnostics* notes,
                           const ZFieldDrawer::ShownValueOf* shown_of, KnownWidgets* known)
    : work_(kWorkOfDocument + kWorkOfByte * added->Document()->RawData().size()),
      fonts_(fonts),
      notes_(notes),
      shown_of_(shown_of),
      known_(known),
      store_(added, &work_),
      texts_(fonts, &work_),
      choices_(fonts),
      buttons_(fonts, store_) {}

bool WidgetDrawer::Fail(const ZAcroFormField& widget, const char* what) {
  notes_->Warn(NameOf(widget) + what);
  return false;
}

bool WidgetDrawer::Draw(ZAcroFormField& widget, size_t index) {
  const ZAcroFormField::eFieldType type = widget.InheritedType();
  if (type == ZAcroFormField::eOtherField) return true;
  // A field that is listed twice is drawn twice. The second time it has another appearance than the document gave it.
  const bool is_as_read = known_ != nullptr && !store_.HasMade(*widget.Dico());
  WidgetFacts drawn_once;
  WidgetFacts& facts = is_as_read ? (*known_)[widget.Dico()] : drawn_once;
  if (!facts.style) facts.style = WidgetStyle::Of(*widget.Dico());
  // Draws nothing in a widget without size, which is not visible.
  if (!facts.style->HasSize()) return true;
  if (work_ == 0)
    return Fail(widget, "is not drawn: the fields of this document need more work than the limit for drawing allows");
  const bool has_value = type == ZAcroFormField::eText || type == ZAcroFormField::eChoice;
  return has_value ? DrawValue(widget, &facts) : DrawButton(widget, *facts.style, index);
}

const KeptLook* WidgetDrawer::KeptOf(const ZAcroFormField& widget, WidgetFacts* facts) {
  if (facts->knows_kept) {
    work_ -= std::min(work_, facts->kept_work);
  } else {
    const size_t work_before = work_;
    facts->kept = store_.KeptOf(*widget.Dico(), *facts->style);
    facts->kept_work = work_before - work_;
    facts->knows_kept = true;
  }
  return facts->kept ? &*facts->kept : nullptr;
}

WidgetDrawing WidgetDrawer::Begin(const ZAcroFormField& widget, const WidgetStyle& style, const TextLook& look,
                                  const KeptLook* kept) const {
  WidgetDrawing drawing{widget, style, look, {}, {}, 0, 0, {}, {}};
  drawing.box.width = kept == nullptr ? style.width : kept->width;
  drawing.box.height = kept == nullptr ? style.height : kept->height;
  drawing.box.padding = style.Padding();
  drawing.box.edge = style.Edge();
  drawing.box.quadding = widget.Quadding();
  drawing.box.size = look.size;
  return drawing;
}

// --- text fields and choice fields ---

bool WidgetDrawer::DrawValue(ZAcroFormField& widget, WidgetFacts* facts, bool reuses_fonts) {
  const WidgetStyle& style = *facts->style;
  fonts_.Begin(reuses_fonts ? &widget : nullptr);
  TextLook look = fonts_.LookOf(widget);
  const uint32_t flags = widget.InheritedFlags();
  const Chaine text = TextOf(widget, flags, &look);
  const KeptLook* const kept = KeptOf(widget, facts);
  WidgetDrawing drawing = Begin(widget, style, look, kept);
  ContentWriter& out = drawing.out;
  if (kept != nullptr) {
    AddApart(out, kept->content.before);
  } else if (style.background.IsVisible() || style.border_width > 0) {
    out.Operator("q");
    style.Draw(out);
    if (widget.InheritedType() == ZAcroFormField::eText) {
      style.DrawDividers(out, TextDrawer::CellsOf(flags, MaxLengthOf(widget)));
    }
    out.Operator("Q");
  }
  AddApart(out, "/Tx BMC\nq\n");
  if (kept != nullptr && (kept->x != 0 || kept->y != 0)) out.Operator("cm", {1, 0, 0, 1, kept->x, kept->y});
  DrawContent(drawing, flags, text);
  out.Raw("Q\nEMC");
  AddApart(out, kept != nullptr && !kept->content.after.empty() ? kept->content.after : "\n");
  work_ -= std::min(work_, kWorkOfWritten * out.Text().size());
  if (fonts_.LacksGlyphs() && reuses_fonts) {
    texts_.Forget();
    const bool is_complete = DrawValue(widget, facts, false);
    texts_.Forget();
    return is_complete;
  }
  store_.SetNormal(widget.Dico(), {&style, kept, out.Take(), drawing.fonts, &look});
  const bool is_rich = widget.InheritedType() == ZAcroFormField::eText && (flags & TextDrawer::kRichTextFlag) != 0;
  if (is_rich && widget.HasValueRichText()) Fail(widget, "its rich text is drawn as plain text");
  return Report(drawing);
}

Chaine WidgetDrawer::TextOf(const ZAcroFormField& widget, uint32_t flags, TextLook* look) {
  const bool is_text = widget.InheritedType() == ZAcroFormField::eText;
  if (!is_text && (flags & ZAcroFormField::kComboFlag) == 0) return {};
  Chaine text;
  if (!is_text) {
    text = choices_.ShownText(widget);
  } else if (!ReadValue(widget, &text)) {
    return {};
  }
  ZShownValue shown;
  if (shown_of_ == nullptr || !*shown_of_ || text.IsEmpty() || !(*shown_of_)(widget, text, &shown)) return text;
  const size_t cells = is_text ? TextDrawer::CellsOf(flags, MaxLengthOf(widget)) : 0;
  if (cells > 0 && CountCharacters(shown.text) > cells) return text;
  if (shown.is_red) {
    look->color = "1 0 0 rg";
    look->color_space = {};
    look->color_space_value = nullptr;
  }
  return shown.text;
}

void WidgetDrawer::DrawContent(WidgetDrawing& drawing, uint32_t flags, const Chaine& text) {
  const ZAcroFormField& widget = drawing.widget;
  if (widget.InheritedType() == ZAcroFormField::eText) {
    texts_.Draw(drawing, text, flags, MaxLengthOf(widget));
  } else if ((flags & ZAcroFormField::kComboFlag) != 0) {
    texts_.Draw(drawing, text, 0, 0);
  } else {
    choices_.DrawList(drawing);
  }
}

// Also reads a value that is a stream (12.7.4.3).
bool WidgetDrawer::ReadValue(const ZAcroFormField& widget, Chaine* utf8) {
  const auto* stream = NodeCast<ZPDFNodeStream>(InheritedEntry(widget, "/V"));
  if (stream == nullptr || !stream->Dico()->Exist("/Filter")) {
    *utf8 = widget.ValueUTF8();
    return true;
  }
  const ZPDFDecodedStream decoded = DecodeStream(*stream, std::min(kMostValue, work_));
  work_ -= std::min(work_, decoded.produced);
  if (!decoded.usable) return Fail(widget, "its value is a stream that cannot be decoded");
  *utf8 = PDFTextToUTF8(decoded.data);
  return true;
}

// --- buttons ---

bool WidgetDrawer::DrawButton(ZAcroFormField& widget, const WidgetStyle& style, size_t index) {
  fonts_.Begin(nullptr);
  const bool is_push = widget.InheritedType() == ZAcroFormField::ePushButton;
  if (is_push ? !ButtonDrawer::LacksLook(widget) : !ButtonDrawer::LacksStates(widget)) {
    if (!is_push) ButtonDrawer::NameState(widget);
    return true;
  }
  const TextLook look = fonts_.LookOf(widget);
  WidgetDrawing drawing = Begin(widget, style, look, nullptr);
  if (is_push) {
    buttons_.DrawPush(drawing);
    store_.SetNormal(widget.Dico(), {&style, nullptr, drawing.out.Take(), drawing.fonts, &look});
  } else {
    buttons_.DrawStates(widget, drawing, index);
  }
  work_ -= std::min(work_, kWorkOfWritten * drawing.out.Text().size());
  return Report(drawing);
}

// --- warnings ---

bool WidgetDrawer::Report(const WidgetDrawing& drawing) {
  const ZAcroFormField& widget = drawing.widget;
  // Gives no such warning for hidden fields: they contain data for programs and are often too small for it.
  if (drawing.left_out > 0 && !widget.GetAnnotation()->IsHidden()) {
    notes_->Warn(NameOf(widget) + FormatUInt(drawing.left_out) + " of " + FormatUInt(drawing.characters) +
                 " characters do not fit");
  }
  std::u32string missing = drawing.missing;
  std::sort(missing.begin(), missing.end());
  missing.erase(std::unique(missing.begin(), missing.end()), missing.end());
  for (size_t i = 0; i < std::min(missing.size(), kMostNamed); i++) {
    notes_->Warn(NameOf(widget) + "no font has the character " + CharacterName(missing[i]));
  }
  if (missing.size() > kMostNamed) {
    const size_t more = missing.size() - kMostNamed;
    notes_->Warn(NameOf(widget) + FormatUInt(more) +
                 (more == 1 ? " more character is in no font" : " more characters are in no font"));
  }
  return missing.empty();
}

}  // namespace zforms
