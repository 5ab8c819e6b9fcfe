#pragma once

#include <array>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zforms/appearance/fonts/font_program.h"
#include "zforms/appearance/fonts/text_font.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

class AddedObjects;
class ZPDFNodeArray;
class ZPDFNodeDictionary;
class ZPDFNodeIndirectObject;
class ZPDFParser;

// A font that drawing embeds in a document: a Type 0 font with Identity-H, "/ToUnicode" and a subset of the glyphs that
// were shown (ISO 32000-1 9.7, 9.9). The first AllocResource adds its object. Complete writes that object and those it
// refers to, after all texts have been shaped. The bytes depend only on the glyphs and their texts. The document
// outlives it.
class EmbeddedFont final : public TextFont {
 public:
  EmbeddedFont(AddedObjects* added, std::shared_ptr<const FontProgram> program, Chaine resource_name);
  // The font that an earlier update wrote into the document as `object`, whose glyphs are used again. The object never
  // changes: when a text needs a glyph that it does not have, `*lacks` becomes true. Null when the object is not such a
  // font, or was made from another version of the program.
  static std::unique_ptr<EmbeddedFont> Former(AddedObjects* added, std::shared_ptr<const FontProgram> program,
                                              Chaine resource_name, ZPDFNodeIndirectObject* object, bool* lacks);
  ~EmbeddedFont() override;

  bool Has(char32_t c) const override { return program_->Has(c); }
  bool Shapes() const override { return true; }
  TextFontMetrics Metrics() const override { return program_->GetDescriptor().metrics; }
  void Shape(std::u32string_view paragraph, size_t from, size_t count, bool right_to_left,
             std::vector<ShapedGlyph>* glyphs) override;
  Chaine ResourceName() const override { return resource_name_; }
  ZPDFNode* AllocResource() override;

  // Writes the font's objects with the glyphs that were shown. More text may follow; then call this again, and the same
  // objects are used. False when no subset can be made.
  bool Complete();

 private:
  bool ReadFormer(const ZPDFNodeDictionary& font);
  void ReadGlyphs(const ZPDFNodeArray& widths);
  void ReadTexts(std::string_view map);
  // The glyphs that were shown, in rising order; and the font name with the tag of their subset.
  std::vector<uint32_t> Glyphs() const;
  Chaine NameFor(const std::vector<uint32_t>& glyphs) const;
  // The glyphs [from, to) of a shaped run, which show one cluster of characters, and the text of the cluster.
  struct Cluster {
    size_t from, to;
    std::u32string_view text;
  };

  bool NoteTexts(const std::vector<FontProgram::Glyph>& glyphs, const Cluster& cluster, bool right_to_left);
  // The objects to which the font's own object leads.
  enum Part : size_t { kDescendant, kDescriptor, kFontFile, kCodesToIndices, kToUnicode, kParts };

  void WriteDescendant(const Chaine& name, const std::vector<uint32_t>& glyphs, const FontSubset& subset);
  void WriteDescriptor(const Chaine& name);
  void WriteFontFile(const FontSubset& subset);
  // Writes a stream whose data is already compressed with FlateDecode.
  void WriteStream(Part part, const Chaine& encoded);
  void Write(Part part, ZPDFNode* value);
  // A reference to the part, which the caller owns.
  ZPDFNode* Refer(Part part);
  Chaine ToUnicode() const;

  AddedObjects* added_;
  ZPDFParser* parser_;
  std::shared_ptr<const FontProgram> program_;
  Chaine resource_name_;
  ZPDFNodeIndirectObject* object_ = nullptr;
  std::array<ZPDFNodeIndirectObject*, kParts> parts_{};
  size_t written_ = 0;     // how many glyphs the objects have
  bool* lacks_ = nullptr;  // null unless it is a former font
  // Each glyph that was shown, with the text that readers take from it.
  std::map<uint32_t, std::u32string> texts_;
};

}  // namespace zforms
