#include "zforms/appearance/fonts/simple_font.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "zforms/appearance/fonts/character_map.h"
#include "zforms/appearance/fonts/font_encodings.h"
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

constexpr uint32_t kSymbolicFlag = 4;

std::string_view WithoutSlash(std::string_view name) { return name.substr(name.starts_with('/') ? 1 : 0); }

// Blanks have a glyph without an outline.
bool IsBlank(char32_t c) { return c == 0x20 || c == 0xA0; }

const ZPDFNodeDictionary* DictionaryIn(const ZPDFNodeDictionary& parent, const char* key) {
  return NodeCast<ZPDFNodeDictionary>(parent.GetTarget(key));
}

// True when a glyph procedure has content after the operator that sets its width (ISO 32000-1 9.6.5).
bool Draws(const ZPDFNode* procedure) {
  constexpr size_t kLargestProcedure = size_t{1} << 20;
  const auto* const stream = NodeCast<ZPDFNodeStream>(procedure);
  if (stream == nullptr) return false;
  const ZPDFDecodedStream decoded = DecodeStream(*stream, kLargestProcedure);
  const std::string_view drawing = TrimBlanks(decoded.data);
  return decoded.usable && !drawing.empty() && !drawing.ends_with(" d0") && !drawing.ends_with(" d1");
}

// Reads the dictionary of a simple font.
class Reader {
 public:
  explicit Reader(const ZPDFNodeDictionary& font)
      : font_(font),
        descriptor_(DictionaryIn(font, "/FontDescriptor")),
        base_font_(WithoutSlash(font.GetIdentifier("/BaseFont").View())),
        standard_(StandardFontNamed(base_font_)),
        glyph_procedures_(DictionaryIn(font, "/CharProcs")),
        is_type3_(font.GetIdentifier("/Subtype") == "/Type3"),
        is_truetype_(font.GetIdentifier("/Subtype") == "/TrueType") {
    if (descriptor_ != nullptr) {
      symbolic_ = (descriptor_->GetUIntValue("/Flags") & kSymbolicFlag) != 0;
      program_ = ProgramGlyphs::Read(*descriptor_);
    }
    ReadEncoding();
    ReadTexts();
  }

  const ZPDFNodeDictionary* Descriptor() const { return descriptor_; }
  const std::string& BaseFont() const { return base_font_; }
  const ProgramGlyphs* Program() const { return program_.get(); }
  bool IsType3() const { return is_type3_; }

  // 0 when the character is not known.
  char32_t CharacterOf(uint8_t code) const { return named_[code] != 0 ? named_[code] : texts_[code]; }
  // True when readers get this character from the code: "/ToUnicode" does not say otherwise.
  bool IsTakenFor(uint8_t code, char32_t c) const { return texts_[code] == 0 || texts_[code] == c; }
  // Whether the code shows a glyph of that character.
  bool Shows(uint8_t code, char32_t c, const StandardFont& like) const {
    if (is_type3_) return glyph_procedures_ != nullptr && Draws(glyph_procedures_->GetTarget("/" + names_[code]));
    if (program_ != nullptr) {
      const uint32_t glyph = GlyphOf(code, c);
      return glyph != 0 && (IsBlank(c) || program_->Draws(glyph));
    }
    // A viewer replaces a font that is not in the file. The replacement has the usual glyphs of Latin text, but the
    // codes of a symbol font do not say which pictures they show.
    if (standard_ == nullptr && (IsSubset() || (symbolic_ && !has_encoding_))) return false;
    if (IsEncodingIgnored() && names_[code] != StandardEncoding()[code]) return false;
    return like.Width(names_[code]).has_value();
  }
  // The width of the code in 1/1000 of the font size. Precondition: the code shows a glyph of that character.
  double WidthOf(uint8_t code, char32_t c, const StandardFont& like) const {
    const auto* const widths = NodeCast<ZPDFNodeArray>(font_.GetTarget("/Widths"));
    const int64_t at = int64_t{code} - font_.GetIntValue("/FirstChar");
    const ZPDFNode* width = nullptr;
    if (widths != nullptr && at >= 0 && at < static_cast<int64_t>(widths->Size())) {
      width = widths->GetTargetAt(static_cast<size_t>(at));
    }
    if (NodeCast<ZPDFNodeNumeric>(width) != nullptr) return width->GetDoubleValue() * Scale();
    // When there is a list of widths, "/MissingWidth" is 0 by default (ISO 32000-1 table 122).
    if (descriptor_ != nullptr && (widths != nullptr || descriptor_->Exist("/MissingWidth"))) {
      return descriptor_->GetDoubleValue("/MissingWidth");
    }
    if (is_type3_) return 0;
    if (program_ != nullptr) return program_->Width(GlyphOf(code, c));
    return like.Width(names_[code]).value_or(0);
  }
  // The factor that converts widths to 1/1000 of the font size. It is 1 except in a Type 3 font, whose glyphs have
  // their own coordinate space.
  double Scale(size_t element = 0) const {
    if (!is_type3_) return 1;
    const auto* const matrix = NodeCast<ZPDFNodeArray>(font_.GetTarget("/FontMatrix"));
    const ZPDFNode* const scale = matrix == nullptr ? nullptr : matrix->GetTargetAt(element);
    return scale == nullptr ? 1 : scale->GetDoubleValue() * 1000;
  }

 private:
  // The encoding of a symbolic TrueType font is ignored (9.6.6.4), so viewers disagree on the codes of the font that
  // replaces it.
  bool IsEncodingIgnored() const { return is_truetype_ && symbolic_ && program_ == nullptr; }
  bool IsSubset() const { return base_font_.size() > 7 && base_font_[6] == '+'; }

  // Sets the glyph names of the codes from "/Encoding". Without a base encoding there, they come from the program, or
  // from the default encoding for the kind of font (ISO 32000-1 9.6.6.1).
  void ReadEncoding() {
    const ZPDFNode* const encoding = font_.GetTarget("/Encoding");
    const FontEncoding* base = nullptr;
    if (encoding != nullptr) base = EncodingNamed(encoding->GetIdentifier());
    const auto* const dictionary = NodeCast<ZPDFNodeDictionary>(encoding);
    if (dictionary != nullptr) base = EncodingNamed(dictionary->GetIdentifier("/BaseEncoding"));
    has_encoding_ = base != nullptr || dictionary != nullptr;
    by_name_ = has_encoding_;
    if (standard_ != nullptr && standard_->IsSymbolic() && program_ == nullptr) {
      // Uses the font's built-in encoding: many of these fonts name another one, such as WinAnsi, although they have
      // none of its glyphs.
      base = &standard_->Encoding();
      names_are_ = standard_->Names();
    }
    if (base == nullptr && !is_type3_) {
      if (program_ != nullptr && (symbolic_ || !program_->HasTables())) {
        ReadBuiltInNames();
      } else {
        base = is_truetype_ ? &WinAnsiEncoding() : &StandardEncoding();
        by_name_ = true;
      }
    }
    if (base != nullptr) {
      std::copy(base->begin(), base->end(), names_.begin());
      named_ = CharactersOf(*base);
    }
    if (dictionary != nullptr) ReadDifferences(*dictionary);
  }
  void Name(size_t code, std::string_view name) {
    names_[code] = name;
    named_[code] = GlyphCharacter(name, names_are_);
  }
  void ReadBuiltInNames() {
    for (size_t code = 0; code < names_.size(); code++) {
      Name(code, program_->BuiltInName(static_cast<uint8_t>(code)));
    }
  }
  void ReadDifferences(const ZPDFNodeDictionary& encoding) {
    const auto* const differences = NodeCast<ZPDFNodeArray>(encoding.GetTarget("/Differences"));
    if (differences == nullptr) return;
    size_t code = 0;
    // A plausible array has at most a number and a name for each code.
    const size_t count = std::min<size_t>(differences->Size(), 2 * names_.size());
    for (size_t i = 0; i < count; i++) {
      const ZPDFNode* const element = differences->GetTargetAt(i);
      if (element == nullptr) continue;
      if (NodeCast<ZPDFNodeNumeric>(element) != nullptr) {
        code = element->GetUIntValue();
      } else if (code < names_.size()) {
        Name(code++, WithoutSlash(element->GetIdentifier().View()));
      }
    }
  }
  void ReadTexts() {
    const ZPDFNode* const map = font_.GetTarget("/ToUnicode");
    if (map == nullptr) return;
    for (const CharacterMap::Text& text : ReadCharacterMap(map).texts) {
      if (text.code < texts_.size()) texts_[text.code] = text.character;
    }
  }

  // Which glyph of the program a code shows (9.6.6.2, 9.6.6.4).
  uint32_t GlyphOf(uint8_t code, char32_t c) const {
    const std::string& name = names_[code];
    if (!program_->HasTables()) return program_->OfName(name);
    if (by_name_ && !(symbolic_ && program_->HasSymbolMap())) {
      if (const uint32_t glyph = program_->OfCharacter(c); glyph != 0) return glyph;
      if (const uint32_t glyph = program_->OfMacCode(MacCodeOf(name)); glyph != 0) return glyph;
      if (const uint32_t glyph = program_->OfName(name); glyph != 0) return glyph;
    }
    return program_->OfCode(code);
  }
  static uint8_t MacCodeOf(std::string_view name) {
    const FontEncoding& names = MacRomanEncoding();
    const auto found = name.empty() ? names.end() : std::find(names.begin(), names.end(), name);
    return found == names.end() ? 0 : static_cast<uint8_t>(found - names.begin());
  }

  const ZPDFNodeDictionary& font_;
  const ZPDFNodeDictionary* descriptor_;
  std::string base_font_;
  const StandardFont* standard_;  // null when the font is not a standard font
  const ZPDFNodeDictionary* glyph_procedures_;
  bool is_type3_;
  bool is_truetype_;
  bool symbolic_ = false;
  bool has_encoding_ = false;
  bool by_name_ = false;  // true when a TrueType glyph is found by the name of its code
  GlyphNames names_are_ = GlyphNames::kUsual;
  std::unique_ptr<ProgramGlyphs> program_;
  std::array<std::string, 256> names_;
  EncodingCharacters named_{};  // the characters that the names stand for
  std::array<char32_t, 256> texts_{};
};

// The metrics of a Type 3 font come from its box, which is in the coordinate space of its glyphs.
TextFontMetrics BoxMetrics(const ZPDFNodeDictionary& font, double scale, const TextFontMetrics& usual) {
  const auto* const box = NodeCast<ZPDFNodeArray>(font.GetTarget("/FontBBox"));
  if (box == nullptr || box->Size() < 4) return usual;
  const ZPDFNode* const bottom = box->GetTargetAt(1);
  const ZPDFNode* const top = box->GetTargetAt(3);
  if (bottom == nullptr || top == nullptr) return usual;
  const double descent = bottom->GetDoubleValue() * scale;
  const double ascent = top->GetDoubleValue() * scale;
  const bool sane = ascent > 0 && ascent <= FontCodes::kLargest && descent <= 0 && descent >= -FontCodes::kLargest;
  return sane ? TextFontMetrics{ascent, descent, ascent} : usual;
}

}  // namespace

SimpleFont::SimpleFont(const ZPDFNodeDictionary& font) {
  latin_.fill(-1);
  const Reader reader(font);
  SetLike(reader.BaseFont(), reader.Descriptor());
  SetMetrics(reader.Descriptor(), reader.Program());
  SetEmbedded(reader.Program() != nullptr || reader.IsType3());
  if (reader.IsType3()) SetMetrics(BoxMetrics(font, reader.Scale(3), Metrics()));
  for (size_t i = 0; i < widths_.size(); i++) {
    const auto code = static_cast<uint8_t>(i);
    const char32_t c = reader.CharacterOf(code);
    if (c == 0 || FindExactly(c) || !reader.Shows(code, c, Like())) continue;
    widths_[i] = reader.WidthOf(code, c, Like());
    plain_[i] = reader.IsTakenFor(code, c);
    if (IsSaneWidth(widths_[i])) Add(c, code);
  }
}

SimpleFont::~SimpleFont() = default;

void SimpleFont::Add(char32_t c, uint8_t code) {
  if (c < latin_.size()) {
    latin_[c] = code;
  } else {
    const std::pair<char32_t, uint8_t> entry(c, code);
    others_.insert(std::lower_bound(others_.begin(), others_.end(), entry), entry);
  }
}

std::optional<FontCode> SimpleFont::FindExactly(char32_t c) const {
  int code = -1;
  if (c < latin_.size()) {
    code = latin_[c];
  } else {
    const auto found = std::lower_bound(others_.begin(), others_.end(), std::pair<char32_t, uint8_t>(c, 0));
    if (found != others_.end() && found->first == c) code = found->second;
  }
  if (code < 0) return std::nullopt;
  const auto at = static_cast<size_t>(code);
  return FontCode{static_cast<uint32_t>(code), 1, widths_[at], plain_[at]};
}

std::optional<FontCode> SimpleFont::Find(char32_t c) const {
  std::optional<FontCode> found = FindExactly(c);
  const char32_t same = found ? 0 : SameGlyphCharacter(c);
  if (same == 0) return found;
  found = FindExactly(same);
  if (found) found->is_plain = false;
  return found;
}

}  // namespace zforms
