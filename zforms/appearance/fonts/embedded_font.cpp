#include "zforms/appearance/fonts/embedded_font.h"

#include <algorithm>
#include <cmath>

#include "zforms/appearance/fonts/added_objects.h"
#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/parser/stream_filters.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/pdf/string_node.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/text/characters.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";

void AppendHex16(Chaine* out, uint32_t value) {
  for (int shift = 12; shift >= 0; shift -= 4) out->Append(kHexDigits[value >> shift & 0xF]);
}

// Six capital letters and "+", which distinguish the subsets of a font (ISO 32000-1 9.6.4). Computed from the glyphs of
// this subset.
Chaine SubsetTag(const std::vector<uint32_t>& glyphs) {
  uint64_t hash = 14695981039346656037ULL;  // FNV-1a
  for (const uint32_t glyph : glyphs) {
    for (int shift = 0; shift < 32; shift += 8) hash = (hash ^ (glyph >> shift & 0xFF)) * 1099511628211ULL;
  }
  Chaine tag;
  for (int i = 0; i < 6; i++, hash /= 26) tag.Append(static_cast<char>('A' + hash % 26));
  return tag + '+';
}

// The array "/W" with the widths of the glyphs: "code [width width ...]" for each sequence of consecutive codes
// (9.7.4.3).
ZPDFNodeArray* AllocWidths(const FontProgram& program, const std::vector<uint32_t>& glyphs) {
  auto* const widths = new ZPDFNodeArray;
  std::vector<std::pair<uint32_t, uint32_t>> codes;
  codes.reserve(glyphs.size());
  for (const uint32_t glyph : glyphs) codes.emplace_back(program.CodeOf(glyph), glyph);
  std::sort(codes.begin(), codes.end());
  ZPDFNodeArray* run = nullptr;
  for (size_t i = 0; i < codes.size(); i++) {
    if (i == 0 || codes[i].first != codes[i - 1].first + 1) {
      widths->AppendValue(codes[i].first);
      run = new ZPDFNodeArray;
      widths->AppendValue(run);
    }
    run->AppendValue(static_cast<int32_t>(std::lround(program.WidthOf(codes[i].second))));
  }
  return widths;
}

}  // namespace

EmbeddedFont::EmbeddedFont(AddedObjects* added, std::shared_ptr<const FontProgram> program, Chaine resource_name)
    : added_(added),
      parser_(added->Document()),
      program_(std::move(program)),
      resource_name_(std::move(resource_name)) {}

EmbeddedFont::~EmbeddedFont() = default;

std::unique_ptr<EmbeddedFont> EmbeddedFont::Former(AddedObjects* added, std::shared_ptr<const FontProgram> program,
                                                   Chaine resource_name, ZPDFNodeIndirectObject* object, bool* lacks) {
  const auto* const font = NodeCast<ZPDFNodeDictionary>(object->GetDirectAt(0));
  if (font == nullptr || object->IsModified()) return nullptr;
  auto former = std::make_unique<EmbeddedFont>(added, std::move(program), std::move(resource_name));
  former->object_ = object;
  former->lacks_ = lacks;
  return former->ReadFormer(*font) ? std::move(former) : nullptr;
}

// Takes the glyphs and their texts from the font. True when Complete would write the same font for these.
bool EmbeddedFont::ReadFormer(const ZPDFNodeDictionary& font) {
  constexpr size_t kMostToUnicode = 4 << 20;
  const auto* const list = NodeCast<ZPDFNodeArray>(font.GetTarget("/DescendantFonts"));
  const auto* const descendant = list == nullptr ? nullptr : NodeCast<ZPDFNodeDictionary>(list->GetTargetAt(0));
  if (descendant == nullptr) return false;
  const auto* const descriptor = NodeCast<ZPDFNodeDictionary>(descendant->GetTarget("/FontDescriptor"));
  const auto* const widths = NodeCast<ZPDFNodeArray>(descendant->GetTarget("/W"));
  const auto* const map = NodeCast<ZPDFNodeStream>(font.GetTarget("/ToUnicode"));
  if (descriptor == nullptr || widths == nullptr || map == nullptr) return false;
  const auto* const file =
      NodeCast<ZPDFNodeStream>(descriptor->GetTarget(program_->IsCFF() ? "/FontFile3" : "/FontFile2"));
  const ZPDFDecodedStream texts = DecodeStream(*map, kMostToUnicode);
  if (file == nullptr || !texts.usable) return false;
  ReadGlyphs(*widths);
  ReadTexts(texts.data);
  const std::vector<uint32_t> glyphs = Glyphs();
  const Chaine name = NameFor(glyphs);
  return descriptor->GetIdentifier("/FontName") == "/" + name && texts.data == ToUnicode() &&
         program_->Subset(glyphs)->file == file->Data();
}

// Reads the glyphs from "/W" in the form that AllocWidths writes.
void EmbeddedFont::ReadGlyphs(const ZPDFNodeArray& widths) {
  for (size_t i = 0; i + 1 < widths.Size(); i += 2) {
    const ZPDFNode* const first = widths.GetTargetAt(i);
    const auto* const run = NodeCast<ZPDFNodeArray>(widths.GetTargetAt(i + 1));
    if (first == nullptr || run == nullptr) return;
    for (size_t k = 0; k < run->Size(); k++) {
      const uint32_t glyph = program_->GlyphOfCode(first->GetUIntValue() + static_cast<uint32_t>(k));
      texts_.try_emplace(glyph);
    }
  }
}

// Reads the texts from the lines "<code> <UTF-16BE>" in the form that ToUnicode writes.
void EmbeddedFont::ReadTexts(std::string_view map) {
  map = map.substr(std::min(map.find("beginbfchar"), map.size()));
  for (size_t at = map.find("\n<"); at != std::string_view::npos; at = map.find("\n<", at + 1)) {
    const std::string_view line = map.substr(at + 2, map.find('\n', at + 2) - at - 2);
    const size_t middle = line.find("> <");
    if (middle == std::string_view::npos || !line.ends_with('>')) return;
    const std::string_view utf16 = line.substr(middle + 3, line.size() - middle - 4);
    const Chaine utf8 = UTF16ToUTF8(ZPDFNodeHexaString::Decode(Chaine(utf16)), ByteOrder::eBigEndian);
    std::u32string text;
    for (std::string_view rest = utf8; !rest.empty();) text += TakeCharacter(&rest).value_or(0);
    const Chaine code = ZPDFNodeHexaString::Decode(Chaine(line.substr(0, middle)));
    if (code.size() != 2) return;
    const auto high = static_cast<uint32_t>(static_cast<uint8_t>(code[0]));
    texts_[program_->GlyphOfCode(high << 8 | static_cast<uint8_t>(code[1]))] = text;
  }
}

std::vector<uint32_t> EmbeddedFont::Glyphs() const {
  std::vector<uint32_t> glyphs;
  glyphs.reserve(texts_.size());
  for (const auto& [glyph, text] : texts_) glyphs.push_back(glyph);
  return glyphs;
}

Chaine EmbeddedFont::NameFor(const std::vector<uint32_t>& glyphs) const {
  return SubsetTag(glyphs) + program_->PostScriptName();
}

void EmbeddedFont::Shape(std::u32string_view paragraph, size_t from, size_t count, bool right_to_left,
                         std::vector<ShapedGlyph>* glyphs) {
  const std::vector<FontProgram::Glyph> shaped = program_->Shape(paragraph, from, count, right_to_left);
  // Clusters are in the order of the text, or in the reverse order when it runs from right to left.
  for (size_t first = 0; first < shaped.size();) {
    size_t last = first + 1;
    while (last < shaped.size() && shaped[last].cluster == shaped[first].cluster) last++;
    const bool is_outermost = right_to_left ? first == 0 : last == shaped.size();
    const size_t end = is_outermost ? from + count : shaped[right_to_left ? first - 1 : last].cluster;
    const size_t start = shaped[first].cluster;
    const Cluster cluster = {first, last, paragraph.substr(start, end - start)};
    const bool is_plain = NoteTexts(shaped, cluster, right_to_left);
    for (size_t i = first; i < last; i++) {
      const FontProgram::Glyph& glyph = shaped[i];
      glyphs->push_back({program_->CodeOf(glyph.index), 2, program_->WidthOf(glyph.index), glyph.advance, glyph.x,
                         glyph.y, static_cast<uint32_t>(start), is_plain});
    }
    first = last;
  }
}

// Assigns text to each glyph of the cluster: the character that the font shows by this glyph when the character stands
// by itself. The rest of the text is assigned to the first other glyph. True when readers get the text of the cluster
// from these assignments.
bool EmbeddedFont::NoteTexts(const std::vector<FontProgram::Glyph>& glyphs, const Cluster& cluster,
                             bool right_to_left) {
  std::u32string rest(cluster.text);
  std::vector<std::u32string> texts(cluster.to - cluster.from);
  for (size_t i = 0; i < texts.size() && texts.size() > 1; i++) {
    const uint32_t index = glyphs[cluster.from + i].index;
    const auto own = std::find_if(rest.begin(), rest.end(), [&](char32_t c) { return program_->GlyphOf(c) == index; });
    if (own == rest.end()) continue;
    texts[i] = *own;
    rest.erase(own);
  }
  const auto without =
      std::find_if(texts.begin(), texts.end(), [](const std::u32string& text) { return text.empty(); });
  if (without != texts.end()) *without = rest;
  std::u32string read;
  bool is_new = true;
  for (size_t i = 0; i < texts.size(); i++) {
    const uint32_t glyph = glyphs[cluster.from + i].index;
    auto known = texts_.find(glyph);
    if (known == texts_.end() && lacks_ != nullptr) {
      *lacks_ = true;
      return false;
    }
    if (known == texts_.end()) known = texts_.emplace(glyph, texts[i]).first;
    is_new = is_new && known->second == texts[i];
    read = right_to_left ? texts[i] + read : read + texts[i];
  }
  return is_new && read == cluster.text;
}

ZPDFNode* EmbeddedFont::AllocResource() {
  if (object_ == nullptr) object_ = added_->Add();
  return object_->AllocReference();
}

ZPDFNode* EmbeddedFont::Refer(Part part) {
  if (parts_[part] == nullptr) parts_[part] = added_->Add();
  return parts_[part]->AllocReference();
}

void EmbeddedFont::Write(Part part, ZPDFNode* value) {
  if (parts_[part] == nullptr) parts_[part] = added_->Add();
  parts_[part]->SetChild(value);
}

void EmbeddedFont::WriteStream(Part part, const Chaine& encoded) {
  auto* const stream = new ZPDFNodeStream(encoded, parser_);
  stream->Dico()->SetIdentifier("/Filter", "/FlateDecode");
  Write(part, stream);
}

void EmbeddedFont::WriteFontFile(const FontSubset& subset) {
  auto* const stream = new ZPDFNodeStream(subset.file, parser_);
  stream->Dico()->SetIdentifier("/Filter", "/FlateDecode");
  if (program_->IsCFF()) {
    stream->Dico()->SetIdentifier("/Subtype", "/CIDFontType0C");
  } else {
    stream->Dico()->SetValue("/Length1", subset.length);
  }
  Write(kFontFile, stream);
}

void EmbeddedFont::WriteDescriptor(const Chaine& name) {
  const FontProgram::Descriptor& program = program_->GetDescriptor();
  auto* const descriptor = new ZPDFNodeDictionary(parser_);
  descriptor->SetIdentifier("/Type", "/FontDescriptor");
  descriptor->SetIdentifier("/FontName", "/" + name);
  descriptor->SetValue("/Flags", program.flags);
  auto* const box = new ZPDFNodeArray;
  for (const int32_t side : program.box) box->AppendValue(side);
  descriptor->SetValue("/FontBBox", box);
  descriptor->SetValue("/ItalicAngle", program.italic_angle);
  descriptor->SetValue("/Ascent", static_cast<int32_t>(std::lround(program.metrics.ascent)));
  descriptor->SetValue("/Descent", static_cast<int32_t>(std::lround(program.metrics.descent)));
  descriptor->SetValue("/CapHeight", static_cast<int32_t>(std::lround(program.metrics.cap_height)));
  constexpr int32_t kUsualStem = 80;  // no table of the font contains it
  descriptor->SetValue("/StemV", kUsualStem);
  descriptor->SetValue(program_->IsCFF() ? "/FontFile3" : "/FontFile2", Refer(kFontFile));
  Write(kDescriptor, descriptor);
}

void EmbeddedFont::WriteDescendant(const Chaine& name, const std::vector<uint32_t>& glyphs, const FontSubset& subset) {
  auto* const font = new ZPDFNodeDictionary(parser_);
  font->SetIdentifier("/Type", "/Font");
  font->SetIdentifier("/Subtype", program_->IsCFF() ? "/CIDFontType0" : "/CIDFontType2");
  font->SetIdentifier("/BaseFont", "/" + name);
  auto* const system = new ZPDFNodeDictionary(parser_);
  system->SetValue("/Registry", "Adobe");
  system->SetValue("/Ordering", "Identity");
  system->SetValue("/Supplement", int32_t{0});
  font->SetValue("/CIDSystemInfo", system);
  font->SetValue("/FontDescriptor", Refer(kDescriptor));
  font->SetValue("/W", AllocWidths(*program_, glyphs));
  if (!program_->IsCFF()) {
    font->SetValue("/CIDToGIDMap", Refer(kCodesToIndices));
    WriteStream(kCodesToIndices, subset.codes_to_indices);
  }
  Write(kDescendant, font);
}

bool EmbeddedFont::Complete() {
  if (object_ == nullptr || lacks_ != nullptr || written_ == texts_.size()) return true;
  const std::vector<uint32_t> glyphs = Glyphs();
  const std::shared_ptr<const FontSubset> subset = program_->Subset(glyphs);
  if (subset->file.IsEmpty()) return false;
  const Chaine name = NameFor(glyphs);
  auto* const descendants = new ZPDFNodeArray;
  descendants->AppendValue(Refer(kDescendant));
  auto* const font = new ZPDFNodeDictionary(parser_);
  font->SetIdentifier("/Type", "/Font");
  font->SetIdentifier("/Subtype", "/Type0");
  font->SetIdentifier("/BaseFont", "/" + (program_->IsCFF() ? name + "-Identity-H" : name));
  font->SetIdentifier("/Encoding", "/Identity-H");
  font->SetValue("/DescendantFonts", descendants);
  font->SetValue("/ToUnicode", Refer(kToUnicode));
  object_->SetChild(font);
  WriteDescendant(name, glyphs, *subset);
  WriteDescriptor(name);
  WriteFontFile(*subset);
  WriteStream(kToUnicode, FlateEncoded(ToUnicode()));
  written_ = texts_.size();
  return true;
}

// A CMap from codes to UTF-16BE (ISO 32000-1 9.10.3).
Chaine EmbeddedFont::ToUnicode() const {
  constexpr size_t kMostInBlock = 100;
  Chaine map =
      "/CIDInit /ProcSet findresource begin\n12 dict begin\nbegincmap\n"
      "/CIDSystemInfo << /Registry (Adobe) /Ordering (UCS) /Supplement 0 >> def\n"
      "/CMapName /Adobe-Identity-UCS def\n/CMapType 2 def\n"
      "1 begincodespacerange\n<0000> <FFFF>\nendcodespacerange\n";
  std::vector<std::pair<uint32_t, const std::u32string*>> texts;
  for (const auto& [glyph, text] : texts_) {
    if (!text.empty()) texts.emplace_back(program_->CodeOf(glyph), &text);
  }
  for (size_t i = 0; i < texts.size(); i++) {
    if (i % kMostInBlock == 0) map += FormatUInt(std::min(kMostInBlock, texts.size() - i)) + " beginbfchar\n";
    map.Append('<');
    AppendHex16(&map, texts[i].first);
    map += "> <";
    Chaine utf8;
    for (const char32_t c : *texts[i].second) AppendUTF8(&utf8, c);
    const Chaine utf16 = UTF8ToUTF16BE(utf8);
    for (size_t k = 0; k + 1 < utf16.size(); k += 2) {
      AppendHex16(&map,
                  static_cast<uint32_t>(static_cast<uint8_t>(utf16[k])) << 8 | static_cast<uint8_t>(utf16[k + 1]));
    }
    map += ">\n";
    if (i % kMostInBlock == kMostInBlock - 1 || i + 1 == texts.size()) map += "endbfchar\n";
  }
  return map + "endcmap\nCMapName currentdict /CMap defineresource pop\nend\nend\n";
}

}  // namespace zforms
