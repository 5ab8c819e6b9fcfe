#include "zforms/appearance/fonts/fallback_fonts.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "zforms/acroform/node_access.h"
#include "zforms/appearance/fonts/added_objects.h"
#include "zforms/appearance/fonts/font_resources.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

constexpr std::string_view kKey = "/ZFb";

}  // namespace

FallbackFonts::FallbackFonts(AddedObjects* added, std::shared_ptr<FontLibrary> library)
    : added_(added), library_(std::move(library)) {}

FallbackFonts::~FallbackFonts() = default;

void FallbackFonts::Begin(const ZPDFNodeDictionary* widget) {
  widget_ = widget;
  of_widget_.clear();
  lacks_glyphs_ = false;
}

void FallbackFonts::FindFormers() {
  const ZPDFNodeDictionary* const widget = std::exchange(widget_, nullptr);
  const ZPDFNodeDictionary* const resources = widget == nullptr ? nullptr : AppearanceResources(*widget);
  const ZPDFNodeDictionary* const fonts = resources == nullptr ? nullptr : DictionaryAt(*resources, "/Font");
  for (size_t i = 0; fonts != nullptr && i < fonts->Size(); i++) {
    const std::string_view key = fonts->KeyAt(i);
    const auto* const reference = NodeCast<ZPDFNodeIndirectReference>(fonts->GetDirect(key));
    if (!key.starts_with(kKey) || reference == nullptr) continue;
    ZPDFNodeIndirectObject* const object = added_->Document()->GetObject(reference->GetID());
    if (object != nullptr && !object->IsModified()) of_widget_.emplace_back(key.substr(1), object);
  }
}

EmbeddedFont* FallbackFonts::FormerOf(const std::shared_ptr<const FontProgram>& program) {
  if (widget_ != nullptr) FindFormers();
  for (const auto& [name, object] : of_widget_) {
    std::vector<Former>& known = formers_[object];
    auto former =
        std::find_if(known.begin(), known.end(), [&](const Former& one) { return one.program == program.get(); });
    if (former == known.end()) {
      known.push_back({program.get(), EmbeddedFont::Former(added_, program, name, object, &lacks_glyphs_)});
      former = std::prev(known.end());
    }
    if (former->font != nullptr) return former->font.get();
  }
  if (!of_widget_.empty()) lacks_glyphs_ = true;
  return nullptr;
}

TextFont* FallbackFonts::Find(const ZFontStyle& style, std::u32string_view characters) {
  std::shared_ptr<const FontProgram> program = library_->Find(style, characters);
  if (program == nullptr) return nullptr;
  if (EmbeddedFont* const former = FormerOf(program)) return former;
  for (const auto& [known, font] : fonts_) {
    if (known == program.get()) return font.get();
  }
  // A name that no form gives to its own fonts, since the appearance may use these as well.
  const Chaine name = kKey.substr(1) + FormatUInt(fonts_.size() + 1);
  const FontProgram* const key = program.get();
  fonts_.emplace_back(key, std::make_unique<EmbeddedFont>(added_, std::move(program), name));
  return fonts_.back().second.get();
}

bool FallbackFonts::Finish() {
  bool is_whole = true;
  for (const auto& [program, font] : fonts_) is_whole = font->Complete() && is_whole;
  return is_whole;
}

}  // namespace zforms
