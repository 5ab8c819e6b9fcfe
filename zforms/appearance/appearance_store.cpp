#include "zforms/appearance/appearance_store.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <utility>

#include "zforms/appearance/fonts/text_font.h"
#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/forward_reader.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/parser/stream_filters.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/pdf/syntax/out_stream.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

// An old appearance with more bytes than this is not kept. Usual ones have a few hundred.
constexpr size_t kMostContent = 4 << 20;
// Sizes of boxes count as equal when they differ by no more than the larger of these: in points, and as a part of the
// size.
constexpr double kBoxTolerance = 1;
constexpr double kBoxPart = 0.05;

const ZPDFNodeDictionary* DictionaryOf(const ZPDFNodeDictionary& holder, std::string_view key) {
  return NodeCast<ZPDFNodeDictionary>(holder.GetTarget(key));
}

bool IsSameSize(double a, double b) { return std::abs(a - b) <= std::max(kBoxTolerance, kBoxPart * b); }

// Reads "/BBox". False when it is not a rectangle, or when the widget has another size.
bool ReadBox(const ZPDFNodeDictionary& dictionary, const WidgetStyle& style, KeptLook* look) {
  std::array<double, 4> corners{};
  if (dictionary.GetNumbers("/BBox", corners) < corners.size()) return false;
  const auto is_far = [](double corner) { return !(std::abs(corner) <= WidgetStyle::kMostSize); };
  if (std::any_of(corners.begin(), corners.end(), is_far)) return false;
  look->x = std::min(corners[0], corners[2]);
  look->y = std::min(corners[1], corners[3]);
  look->width = std::abs(corners[2] - corners[0]);
  look->height = std::abs(corners[3] - corners[1]);
  return IsSameSize(look->width, style.width) && IsSameSize(look->height, style.height);
}

// True when "/Matrix" rotates the box as the widget asks and does nothing else but move it. Without "/Matrix" there is
// no rotation.
bool TurnsAlike(const ZPDFNodeDictionary& dictionary, const WidgetStyle& style) {
  const auto* matrix = NodeCast<ZPDFNodeArray>(dictionary.GetTarget("/Matrix"));
  if (matrix == nullptr) return style.rotation == 0;
  const std::array<double, 6> wanted = style.Matrix();
  for (size_t i = 0; i < 4; i++) {
    const ZPDFNode* part = matrix->GetTargetAt(i);
    if (part == nullptr || !(std::abs(part->GetDoubleValue() - wanted[i]) < 0.01)) return false;
  }
  return true;
}

Chaine WrittenText(const ZPDFNode& node) {
  Chaine text;
  ZPDFOutStream out(&text);
  node.SendTo(out, ZPDFEncrypterNeutral::Default());
  return text;
}

bool IsSame(const ZPDFNodeStream* before, const ZPDFNodeStream& after) {
  return before != nullptr && before->Data() == after.Data() &&
         WrittenText(*before->Dico()) == WrittenText(*after.Dico());
}

// Adds a key and an array of numbers, rounded to four decimal places.
void AddArray(Chaine* text, std::string_view key, std::span<const double> numbers) {
  text->Append(key);
  text->Append('[');
  for (const double number : numbers) {
    const double rounded = std::round(number * 10000) / 10000;
    if (text->Last() != '[') text->Append(' ');
    text->Append(FormatDouble(rounded));
  }
  text->Append(']');
}

// A copy of the entry, with its references; null when absent.
ZPDFNode* CloneOf(const ZPDFNodeDictionary& holder, std::string_view key) {
  const ZPDFNode* value = holder.GetDirect(key);
  return value == nullptr ? nullptr : value->Clone();
}

}  // namespace

const ZPDFNodeStream* AppearanceStore::NormalStream(const ZPDFNodeDictionary& widget) {
  const ZPDFNodeDictionary* appearances = DictionaryOf(widget, "/AP");
  return appearances == nullptr ? nullptr : NodeCast<ZPDFNodeStream>(appearances->GetTarget("/N"));
}

std::optional<KeptLook> AppearanceStore::KeptOf(const ZPDFNodeDictionary& widget, const WidgetStyle& style) {
  const ZPDFNodeStream* stream = NormalStream(widget);
  KeptLook look;
  if (stream == nullptr || !ReadBox(*stream->Dico(), style, &look)) return std::nullopt;
  if (!TurnsAlike(*stream->Dico(), style)) return std::nullopt;
  const ZPDFDecodedStream decoded = DecodeStream(*stream, std::min(kMostContent, *work_));
  *work_ -= std::min(*work_, decoded.data.size());
  if (!decoded.usable || !decoded.fault.IsEmpty()) return std::nullopt;
  std::optional<KeptContent> content = WithoutMarkedText(decoded.data);
  if (!content) return std::nullopt;
  look.content = std::move(*content);
  look.dictionary = stream->Dico();
  return look;
}

ZPDFNodeDictionary* AppearanceStore::MakeResources(const NewAppearance& appearance) const {
  const auto uses_names = [](const std::string& content) { return content.find('/') != std::string::npos; };
  std::unique_ptr<ZPDFNodeDictionary> resources;
  std::unique_ptr<ZPDFNodeDictionary> fonts;
  if (appearance.kept != nullptr &&
      (uses_names(appearance.kept->content.before) || uses_names(appearance.kept->content.after))) {
    if (const ZPDFNodeDictionary* before = DictionaryOf(*appearance.kept->dictionary, "/Resources")) {
      resources.reset(before->Clone());
      *work_ -= std::min(*work_, WrittenText(*before).size());
      if (const ZPDFNodeDictionary* former = DictionaryOf(*before, "/Font")) fonts.reset(former->Clone());
    }
  }
  if (resources == nullptr) resources = std::make_unique<ZPDFNodeDictionary>(parser_);
  if (!appearance.fonts.empty()) {
    if (fonts == nullptr) fonts = std::make_unique<ZPDFNodeDictionary>(parser_);
    for (TextFont* font : appearance.fonts) fonts->SetValue("/" + font->ResourceName(), font->AllocResource());
    resources->SetValue("/Font", fonts.release());
  }
  if (appearance.look != nullptr && appearance.look->color_space_value != nullptr) {
    const ZPDFNodeDictionary* former = DictionaryOf(*resources, "/ColorSpace");
    auto* spaces = former == nullptr ? new ZPDFNodeDictionary(parser_) : former->Clone();
    spaces->SetValue("/" + appearance.look->color_space, appearance.look->color_space_value->Clone());
    resources->SetValue("/ColorSpace", spaces);
  }
  return resources.release();
}

// Makes the dictionary by reading a text. The simple values of a dictionary that was read get nodes only when somebody
// uses them, and these are only written.
ZPDFNodeStream* AppearanceStore::MakeStream(const NewAppearance& appearance) const {
  Chaine text = "<</Length ";
  text.Append(FormatUInt(appearance.content.size()));
  text.Append("/Type/XObject/Subtype/Form");
  const KeptLook* const kept = appearance.kept;
  const WidgetStyle& style = *appearance.style;
  if (kept != nullptr) {
    AddArray(&text, "/BBox", std::array{kept->x, kept->y, kept->x + kept->width, kept->y + kept->height});
  } else {
    AddArray(&text, "/BBox", std::array{0.0, 0.0, style.width, style.height});
    if (style.rotation != 0) AddArray(&text, "/Matrix", style.Matrix());
  }
  text.Append(">>");
  ZPDFTokenizedString tokens(text);
  auto* const dictionary = NodeCast<ZPDFNodeDictionary>(ReadForward(tokens, parser_, nullptr));
  ZPDFNode* const matrix = kept == nullptr ? nullptr : CloneOf(*kept->dictionary, "/Matrix");
  if (matrix != nullptr) dictionary->SetValue("/Matrix", matrix);
  dictionary->SetValue("/Resources", MakeResources(appearance));
  return new ZPDFNodeStream(dictionary, appearance.content, parser_);
}

ZPDFNodeDictionary* AppearanceStore::OwnAppearances(ZPDFNodeDictionary* widget) const {
  if (auto* own = NodeCast<ZPDFNodeDictionary>(widget->GetDirect("/AP"))) return own;
  const ZPDFNodeDictionary* shared = DictionaryOf(*widget, "/AP");
  auto* own = shared == nullptr ? new ZPDFNodeDictionary(parser_) : shared->Clone();
  widget->SetValue("/AP", own);
  return own;
}

void AppearanceStore::SetNormal(ZPDFNodeDictionary* widget, const NewAppearance& appearance) {
  std::unique_ptr<ZPDFNodeStream> stream(MakeStream(appearance));
  const bool is_same = IsSame(NormalStream(*widget), *stream);
  if (!is_same) {
    ZPDFNodeIndirectObject*& object = made_[widget];
    if (object == nullptr) object = added_->Add();
    object->SetChild(stream.release());
    ZPDFNodeDictionary* own = OwnAppearances(widget);
    const auto* reference = NodeCast<ZPDFNodeIndirectReference>(own->GetDirect("/N"));
    if (reference == nullptr || !(reference->GetID() == object->GetID())) own->SetValue("/N", object->AllocReference());
  }
  // Removes the other appearances, which would still show the old value.
  for (const char* key : {"/D", "/R"}) {
    const ZPDFNodeDictionary* appearances = DictionaryOf(*widget, "/AP");
    if (appearances != nullptr && appearances->Exist(key)) OwnAppearances(widget)->RemoveValue(key);
  }
}

void AppearanceStore::SetState(ZPDFNodeDictionary* widget, const Chaine& state, const NewAppearance& appearance) {
  ZPDFNodeDictionary* own = OwnAppearances(widget);
  auto* states = NodeCast<ZPDFNodeDictionary>(own->GetDirect("/N"));
  if (states == nullptr) {
    const ZPDFNodeDictionary* shared = DictionaryOf(*own, "/N");
    states = shared == nullptr ? new ZPDFNodeDictionary(parser_) : shared->Clone();
    own->SetValue("/N", states);
  }
  ZPDFNodeIndirectObject* object = added_->Add();
  object->SetChild(MakeStream(appearance));
  states->SetValue("/" + state, object->AllocReference());
}

}  // namespace zforms
