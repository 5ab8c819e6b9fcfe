#include "zforms/appearance/fonts/font_resources.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "zforms/acroform/field.h"
#include "zforms/acroform/node_access.h"
#include "zforms/appearance/fonts/added_objects.h"
#include "zforms/appearance/fonts/shared_font_codes.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/stream_node.h"

namespace zforms {
namespace {

bool IsFont(const ZPDFNodeDictionary& dictionary) {
  constexpr std::array<std::string_view, 5> kSubtypes = {"/Type1", "/TrueType", "/Type0", "/MMType1", "/Type3"};
  const Chaine& subtype = dictionary.GetIdentifier("/Subtype");
  for (const std::string_view known : kSubtypes) {
    if (subtype == known) return true;
  }
  return subtype.IsEmpty() && dictionary.Exist("/BaseFont");
}

}  // namespace

const ZPDFNodeDictionary* AppearanceResources(const ZPDFNodeDictionary& widget) {
  const ZPDFNodeDictionary* const appearances = DictionaryAt(widget, "/AP");
  if (appearances == nullptr) return nullptr;
  const auto* const stream = NodeCast<ZPDFNodeStream>(appearances->GetTarget("/N"));
  return stream == nullptr ? nullptr : DictionaryAt(*stream->Dico(), "/Resources");
}

FontResources::FontResources(AddedObjects* added, std::shared_ptr<SharedFontCodes> shared)
    : added_(added), shared_(std::move(shared)) {}
FontResources::~FontResources() = default;

ResourceFont* FontResources::Find(const ZAcroFormField& widget, std::string_view name) {
  const Chaine key = "/" + Chaine(name);
  for (const ZAcroFormField* field = &widget; field != nullptr; field = field->Parent()) {
    if (ResourceFont* font = FindIn(DictionaryAt(*field->Dico(), "/DR"), key)) return font;
  }
  if (const ZPDFNodeDictionary* const form = added_->Document()->AcroForm()) {
    if (ResourceFont* font = FindIn(DictionaryAt(*form, "/DR"), key)) return font;
  }
  // Without a name, uses the one that an earlier drawing gave to the standard font.
  const Chaine own_key = name.empty() ? Chaine("/Helv") : key;
  if (ResourceFont* font = FindIn(AppearanceResources(*widget.Dico()), own_key)) return font;
  const StandardFont* const standard = StandardFontOfResource(name);
  return Standard(standard == nullptr ? StandardFontLike(name, 0) : *standard, name.empty() ? "Helv" : name);
}

ResourceFont* FontResources::StandInFor(const ResourceFont& font, std::u32string_view text,
                                        const ZPDFNodeDictionary* widget) {
  const StandardFont& like = font.Codes().Like();
  if (font.Codes().IsEmbedded() || like.IsSymbolic()) return nullptr;
  const std::shared_ptr<const FontCodes>& codes = CodesOf(like);
  const auto has = [&codes](char32_t c) { return codes->Find(c).has_value(); };
  if (!std::all_of(text.begin(), text.end(), has)) return nullptr;
  // A name that none of the form's fonts has.
  const Chaine name = Chaine("Z") + like.name;
  ResourceFont* const own = widget == nullptr ? nullptr : FindIn(AppearanceResources(*widget), "/" + name);
  const auto own_has = [own](char32_t c) { return own->Has(c); };
  if (own != nullptr && std::all_of(text.begin(), text.end(), own_has)) return own;
  return Standard(like, name);
}

ResourceFont* FontResources::FindIn(const ZPDFNodeDictionary* resources, const Chaine& key) {
  const ZPDFNodeDictionary* const fonts = resources == nullptr ? nullptr : DictionaryAt(*resources, "/Font");
  const ZPDFNodeDictionary* const font = fonts == nullptr ? nullptr : DictionaryAt(*fonts, key);
  return font != nullptr && IsFont(*font) ? FontOf(*font, key.Mid(1), *fonts->GetDirect(key)) : nullptr;
}

ResourceFont* FontResources::Standard(const StandardFont& font, std::string_view name) {
  const std::shared_ptr<const FontCodes>& codes = CodesOf(font);
  std::unique_ptr<ResourceFont>& known = standard_[&font].fonts[name];
  if (known == nullptr) known = std::make_unique<ResourceFont>(codes, name, [this, &font] { return ReferTo(font); });
  return known.get();
}

const std::shared_ptr<const FontCodes>& FontResources::CodesOf(const StandardFont& font) {
  std::shared_ptr<const FontCodes>& codes = standard_[&font].codes;
  if (codes == nullptr) codes = FontCodes::Read(*MakeStandardFont(font));
  return codes;
}

// Shares the codes with the other copies, unless the object was added or changed: the other copies may then have
// another font there.
std::shared_ptr<const FontCodes> FontResources::ReadCodes(const ZPDFNodeDictionary& font, const ZPDFNode& value) const {
  const auto* const reference = NodeCast<ZPDFNodeIndirectReference>(&value);
  const ZPDFNodeIndirectObject* const object =
      shared_ == nullptr || reference == nullptr ? nullptr : added_->Document()->GetObject(reference->GetID());
  if (object == nullptr || object->IsModified()) return FontCodes::Read(font);
  return shared_->Of(reference->GetID().Number(), font);
}

ResourceFont* FontResources::FontOf(const ZPDFNodeDictionary& font, std::string_view name, const ZPDFNode& value) {
  std::unique_ptr<ResourceFont>& known = fonts_[&font][name];
  if (known == nullptr) {
    std::shared_ptr<const FontCodes>& codes = codes_[&font];
    if (codes == nullptr) codes = ReadCodes(font, value);
    known = std::make_unique<ResourceFont>(codes, name, value);
  }
  return known.get();
}

std::unique_ptr<ZPDFNodeDictionary> FontResources::MakeStandardFont(const StandardFont& font) const {
  auto dictionary = std::make_unique<ZPDFNodeDictionary>(added_->Document());
  dictionary->SetIdentifier("/Type", "/Font");
  dictionary->SetIdentifier("/Subtype", "/Type1");
  dictionary->SetIdentifier("/BaseFont", "/" + Chaine(font.name));
  if (!font.IsSymbolic()) dictionary->SetIdentifier("/Encoding", "/WinAnsiEncoding");
  return dictionary;
}

ZPDFNode* FontResources::ReferTo(const StandardFont& font) {
  Added& added = standard_[&font];
  if (added.object == nullptr) {
    ZPDFNodeDictionary* const dictionary = MakeStandardFont(font).release();
    added.object = added_->Add();
    added.object->SetChild(dictionary);
    codes_[dictionary] = added.codes;
  }
  return added.object->AllocReference();
}

void FontResources::Restart() {
  for (auto& [font, added] : standard_) {
    if (added.object == nullptr) continue;
    const auto* const dictionary = NodeCast<ZPDFNodeDictionary>(added.object->GetDirectAt(0));
    codes_.erase(dictionary);
    fonts_.erase(dictionary);
    added.object = nullptr;
  }
}

}  // namespace zforms
