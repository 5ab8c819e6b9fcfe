#include "zforms/appearance/fonts/composite_font.h"

#include <algorithm>
#include <string_view>

#include "zforms/appearance/fonts/glyph_list.h"
#include "zforms/appearance/fonts/program_glyphs.h"
#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/numeric_node.h"
#include "zforms/pdf/parser/stream_filters.h"
#include "zforms/pdf/stream_node.h"

namespace zforms {
namespace {

constexpr uint32_t kLastCid = 0xFFFF;
constexpr size_t kMostWidths = size_t{1} << 17;
constexpr size_t kGlyphMapSize = 2 * (size_t{kLastCid} + 1);
// The first character of the East Asian scripts, whose characters all have the same width.
constexpr char32_t kFirstIdeograph = 0x2E80;

bool IsBlank(char32_t c) { return c == 0x20 || c == 0xA0 || c == 0x3000; }

// Predefined CMaps whose codes are the text in UTF-16 (ISO 32000-1 table 118).
bool IsUnicodeMap(std::string_view name) {
  return name.starts_with("/Uni") && (name.ends_with("-UCS2-H") || name.ends_with("-UTF16-H"));
}

const ZPDFNodeDictionary* DescendantOf(const ZPDFNodeDictionary& font) {
  const ZPDFNode* node = font.GetTarget("/DescendantFonts");
  if (const auto* const array = NodeCast<ZPDFNodeArray>(node)) node = array->GetTargetAt(0);
  return NodeCast<ZPDFNodeDictionary>(node);
}

}  // namespace

CompositeFont::CompositeFont(const ZPDFNodeDictionary& font) {
  const ZPDFNodeDictionary* const descendant = DescendantOf(font);
  if (descendant == nullptr) return;
  const auto* const descriptor = NodeCast<ZPDFNodeDictionary>(descendant->GetTarget("/FontDescriptor"));
  const std::string_view name = font.GetIdentifier("/BaseFont");
  SetLike(name.substr(name.starts_with('/') ? 1 : 0), descriptor);
  if (descriptor != nullptr) program_ = ProgramGlyphs::Read(*descriptor);
  SetMetrics(descriptor, program_.get());
  SetEmbedded(program_ != nullptr);
  if (program_ == nullptr) return;
  ReadEncoding(font.GetTarget("/Encoding"));
  if (codes_ == Codes::kNone) return;
  ReadTexts(font.GetTarget("/ToUnicode"));
  if (descendant->Exist("/DW")) default_width_ = descendant->GetDoubleValue("/DW");
  if (const auto* const list = NodeCast<ZPDFNodeArray>(descendant->GetTarget("/W"))) ReadWidths(*list);
  ReadGlyphMap(*descendant);
}

CompositeFont::~CompositeFont() = default;

void CompositeFont::ReadEncoding(const ZPDFNode* encoding) {
  if (encoding == nullptr) return;
  const std::string_view name = encoding->GetIdentifier();
  if (name == "/Identity-H") codes_ = Codes::kCids;
  if (IsUnicodeMap(name)) codes_ = Codes::kUnicode;
  if (NodeCast<ZPDFNodeStream>(encoding) == nullptr) return;
  CharacterMap map = ReadCharacterMap(encoding);
  if (map.vertical || map.cids.empty()) return;
  codes_ = Codes::kMapped;
  cids_ = std::move(map.cids);
  std::stable_sort(cids_.begin(), cids_.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
}

void CompositeFont::ReadTexts(const ZPDFNode* map) {
  if (map == nullptr) return;
  for (const CharacterMap::Text& text : ReadCharacterMap(map).texts) texts_.emplace_back(text.character, text.code);
  std::sort(texts_.begin(), texts_.end());
}

// Reads "/W" (ISO 32000-1 9.7.4.3): "c [w1 w2 ...]" gives the widths of the CIDs from c on, "c1 c2 w" one width for all
// CIDs from c1 to c2.
void CompositeFont::ReadWidths(const ZPDFNodeArray& list) {
  const auto add = [this](uint32_t first, uint32_t last, double width) {
    if (first <= last && first <= kLastCid && widths_.size() < kMostWidths) widths_.push_back({first, last, width});
  };
  for (size_t i = 0; i + 1 < list.Size() && widths_.size() < kMostWidths;) {
    const ZPDFNode* const first = list.GetTargetAt(i);
    const ZPDFNode* const second = list.GetTargetAt(i + 1);
    if (first == nullptr || second == nullptr) break;
    uint32_t cid = first->GetUIntValue();
    if (const auto* const widths = NodeCast<ZPDFNodeArray>(second)) {
      const size_t count = std::min<size_t>(widths->Size(), kLastCid + 1);
      for (size_t k = 0; k < count; k++, cid++) {
        if (const ZPDFNode* const width = widths->GetTargetAt(k)) add(cid, cid, width->GetDoubleValue());
      }
      i += 2;
      continue;
    }
    const ZPDFNode* const width = i + 2 < list.Size() ? list.GetTargetAt(i + 2) : nullptr;
    if (width == nullptr) break;
    add(cid, second->GetUIntValue(), width->GetDoubleValue());
    i += 3;
  }
  std::stable_sort(widths_.begin(), widths_.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
}

void CompositeFont::ReadGlyphMap(const ZPDFNodeDictionary& descendant) {
  const auto* const stream = NodeCast<ZPDFNodeStream>(descendant.GetTarget("/CIDToGIDMap"));
  if (stream == nullptr || descendant.GetIdentifier("/Subtype") != "/CIDFontType2") return;
  has_glyph_map_ = true;
  const ZPDFDecodedStream decoded = DecodeStream(*stream, 2 * kGlyphMapSize);
  if (decoded.usable) glyph_map_ = decoded.data.Mid(0, kGlyphMapSize);
}

std::optional<FontCode> CompositeFont::Find(char32_t c) const {
  const std::lock_guard lock(mutex_);
  const auto [found, is_new] = found_.try_emplace(c);
  if (!is_new) return found->second;
  std::optional<FontCode> code = Search(c);
  const char32_t same = code ? 0 : SameGlyphCharacter(c);
  if (same != 0) code = Search(same);
  if (same != 0 && code) code->is_plain = false;
  found->second = code;
  return code;
}

std::optional<FontCode> CompositeFont::Search(char32_t c) const {
  if (codes_ == Codes::kNone) return std::nullopt;
  if (codes_ == Codes::kUnicode) return ByUnicode(c);
  if (const std::optional<FontCode> code = ByText(c)) return code;
  return codes_ == Codes::kCids ? ByProgram(c) : std::nullopt;
}

std::optional<FontCode> CompositeFont::ByText(char32_t c) const {
  const auto first = std::lower_bound(texts_.begin(), texts_.end(), std::pair<char32_t, uint32_t>(c, 0));
  for (auto at = first; at != texts_.end() && at->first == c; ++at) {
    const std::optional<Cid> cid = CidOf(at->second);
    if (!cid || !Shows(GlyphOf(cid->cid), c)) continue;
    const double width = WidthOf(cid->cid);
    if (IsSaneWidth(width)) return FontCode{at->second, cid->size, width};
  }
  return std::nullopt;
}

std::optional<FontCode> CompositeFont::ByProgram(char32_t c) const {
  const uint32_t glyph = program_->OfCharacter(c);
  if (!Shows(glyph, c)) return std::nullopt;
  const uint32_t cid = CidOfGlyph(glyph);
  const double width = WidthOf(cid);
  if (cid == 0 || cid > kLastCid || !IsSaneWidth(width)) return std::nullopt;
  return FontCode{cid, 2, width, false};
}

// In the character collections of all these CMaps, the CIDs of ASCII are the same: 1 for U+0020 and so on.
std::optional<FontCode> CompositeFont::ByUnicode(char32_t c) const {
  const bool is_ascii = c >= 0x20 && c <= 0x7E;
  if (!is_ascii && (c < kFirstIdeograph || c > 0xFFFF)) return std::nullopt;
  if (!Shows(program_->OfCharacter(c), c)) return std::nullopt;
  const double width = is_ascii ? WidthOf(c - 0x1F) : default_width_;
  if (!IsSaneWidth(width)) return std::nullopt;
  return FontCode{c, 2, width};
}

std::optional<CompositeFont::Cid> CompositeFont::CidOf(uint32_t code) const {
  if (codes_ == Codes::kCids) return code <= kLastCid ? std::optional<Cid>({code, 2}) : std::nullopt;
  auto at = std::upper_bound(cids_.begin(), cids_.end(), code,
                             [](uint32_t value, const auto& range) { return value < range.first; });
  if (at == cids_.begin()) return std::nullopt;
  --at;
  if (code > at->last) return std::nullopt;
  return Cid{at->cid + (code - at->first), at->size};
}

uint32_t CompositeFont::GlyphOf(uint32_t cid) const {
  if (!has_glyph_map_) return program_->OfCid(cid);
  const size_t at = 2 * size_t{cid};
  if (at + 1 >= glyph_map_.size()) return 0;
  return static_cast<uint32_t>(static_cast<uint8_t>(glyph_map_[at]) << 8 | static_cast<uint8_t>(glyph_map_[at + 1]));
}

uint32_t CompositeFont::CidOfGlyph(uint32_t glyph) const {
  if (!has_glyph_map_) return program_->CidOf(glyph);
  if (cid_of_glyph_.empty()) {
    cid_of_glyph_.assign(size_t{kLastCid} + 1, 0);
    for (auto cid = static_cast<uint32_t>(glyph_map_.size() / 2); cid-- > 0;) {
      cid_of_glyph_[GlyphOf(cid)] = static_cast<uint16_t>(cid);
    }
  }
  return glyph < cid_of_glyph_.size() ? cid_of_glyph_[glyph] : 0;
}

bool CompositeFont::Shows(uint32_t glyph, char32_t c) const {
  return glyph != 0 && (IsBlank(c) || program_->Draws(glyph));
}

double CompositeFont::WidthOf(uint32_t cid) const {
  auto at = std::upper_bound(widths_.begin(), widths_.end(), cid,
                             [](uint32_t value, const Widths& range) { return value < range.first; });
  if (at == widths_.begin()) return default_width_;
  --at;
  return cid <= at->last ? at->width : default_width_;
}

}  // namespace zforms
