#include "zforms/appearance/fonts/resource_font.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "zforms/appearance/fonts/composite_font.h"
#include "zforms/appearance/fonts/program_glyphs.h"
#include "zforms/appearance/fonts/simple_font.h"
#include "zforms/pdf/dictionary_node.h"

namespace zforms {
namespace {

// Ascents and cap heights outside these limits are not plausible; many descriptors have 0.
constexpr double kSmallestHeight = 100;
constexpr double kLargestHeight = 3000;

bool IsHeight(double value) { return value >= kSmallestHeight && value <= kLargestHeight; }

}  // namespace

FontCodes::~FontCodes() = default;

std::unique_ptr<FontCodes> FontCodes::Read(const ZPDFNodeDictionary& font) {
  if (font.GetIdentifier("/Subtype") == "/Type0") return std::make_unique<CompositeFont>(font);
  return std::make_unique<SimpleFont>(font);
}

void FontCodes::SetLike(std::string_view base_font, const ZPDFNodeDictionary* descriptor) {
  like_ = &StandardFontLike(base_font, descriptor == nullptr ? 0 : descriptor->GetUIntValue("/Flags"));
  metrics_ = like_->metrics;
}

void FontCodes::SetMetrics(const ZPDFNodeDictionary* descriptor, const ProgramGlyphs* program) {
  metrics_ = like_->metrics;
  const auto take = [this](const TextFontMetrics& from) {
    if (IsHeight(from.ascent)) metrics_.ascent = from.ascent;
    // Some writers omit the sign of the descent.
    const double depth = std::abs(from.descent);
    if (depth > 0 && depth <= kLargestHeight) metrics_.descent = -depth;
    // Ignores a cap height above the ascent: some writers put the top of the font's box there.
    if (IsHeight(from.cap_height) && from.cap_height <= metrics_.ascent) metrics_.cap_height = from.cap_height;
  };
  if (program != nullptr) take(program->Metrics());
  if (descriptor != nullptr) {
    take({descriptor->GetDoubleValue("/Ascent"), descriptor->GetDoubleValue("/Descent"),
          descriptor->GetDoubleValue("/CapHeight")});
  }
  metrics_.cap_height = std::min(metrics_.cap_height, metrics_.ascent);
}

ResourceFont::ResourceFont(std::shared_ptr<const FontCodes> codes, Chaine name, const ZPDFNode& value)
    : ResourceFont(std::move(codes), std::move(name),
                   [own = std::shared_ptr<const ZPDFNode>(value.Clone())] { return own->Clone(); }) {}
ResourceFont::ResourceFont(std::shared_ptr<const FontCodes> codes, Chaine name, AllocValue alloc_value)
    : codes_(std::move(codes)), name_(std::move(name)), alloc_value_(std::move(alloc_value)) {}
ResourceFont::~ResourceFont() = default;

bool ResourceFont::Has(char32_t c) const { return codes_->Find(c).has_value(); }

void ResourceFont::Shape(std::u32string_view paragraph, size_t from, size_t count, bool right_to_left,
                         std::vector<ShapedGlyph>* glyphs) {
  for (size_t i = 0; i < count; i++) {
    const size_t at = right_to_left ? from + count - 1 - i : from + i;
    const std::optional<FontCode> code = codes_->Find(paragraph[at]);
    if (!code) continue;
    ShapedGlyph glyph;
    glyph.code = code->code;
    glyph.code_size = code->size;
    glyph.width = glyph.advance = code->width;
    glyph.cluster = static_cast<uint32_t>(at);
    glyph.is_plain = code->is_plain;
    glyphs->push_back(glyph);
  }
}

ZPDFNode* ResourceFont::AllocResource() { return alloc_value_(); }

}  // namespace zforms
