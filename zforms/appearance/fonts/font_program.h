#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "zforms/appearance/fonts/font_source.h"
#include "zforms/appearance/fonts/subset_cache.h"
#include "zforms/appearance/fonts/text_font.h"
#include "zforms/platform/base/chaine.h"

struct hb_buffer_t;
struct hb_face_t;
struct hb_font_t;
struct hb_set_t;

namespace zforms {

// A font file for shaping and embedding: TrueType or CFF outlines in an OpenType file, one face of a collection, or the
// default instance of a variable font. Immutable after it is opened; documents and threads share it.
class FontProgram {
 public:
  // One glyph of a shaped run, in visual order; positions in 1/1000 of the font size.
  struct Glyph {
    uint32_t index;
    uint32_t cluster;
    double advance;
    double x, y;
  };
  // The numbers of a font descriptor, in 1/1000 of the font size (ISO 32000-1 table 122).
  struct Descriptor {
    TextFontMetrics metrics;
    int32_t box[4] = {};
    double italic_angle = 0;
    uint32_t flags = 0;
  };

  // Opens a font file. Null when it is not such a font, or when it may not be embedded (OS/2 fsType); `fault` then says
  // why.
  static std::shared_ptr<const FontProgram> Open(const ZFontFile& file, Chaine* fault);
  ~FontProgram();
  FontProgram(const FontProgram&) = delete;
  FontProgram& operator=(const FontProgram&) = delete;

  bool Has(char32_t c) const { return GlyphOf(c) != 0; }
  // The glyph of a character; 0 when there is none.
  uint32_t GlyphOf(char32_t c) const;
  double WidthOf(uint32_t glyph) const;
  // The character code of a glyph in a Type 0 font with Identity-H: its CID in a CID-keyed font, else its index.
  uint32_t CodeOf(uint32_t glyph) const;
  // The glyph of a character code: the inverse of CodeOf. 0 when there is none.
  uint32_t GlyphOfCode(uint32_t code) const;

  const Chaine& PostScriptName() const { return name_; }
  const Descriptor& GetDescriptor() const { return descriptor_; }
  bool IsCFF() const { return is_cff_; }
  bool IsCIDKeyed() const { return !cids_.empty(); }

  // Shapes the characters [from, from + count) of the paragraph in one direction; the characters around them are
  // context.
  std::vector<Glyph> Shape(std::u32string_view paragraph, size_t from, size_t count, bool right_to_left) const;

  // Makes a font file with only those glyphs: TrueType, or bare CFF. The glyphs must be in rising order. Depends only
  // on the glyphs.
  std::shared_ptr<const FontSubset> Subset(const std::vector<uint32_t>& glyphs) const;

 private:
  FontProgram() = default;
  bool ReadTables(Chaine* fault);
  void ReadDescriptor();
  void ReadCIDs(std::string_view bytes, uint32_t index);
  FontSubset MakeSubset(const std::vector<uint32_t>& glyphs) const;
  // Makes the file of a subset; empty when that fails. `indices` receives each glyph's index in the file.
  Chaine Cut(const std::vector<uint32_t>& glyphs, std::vector<uint32_t>* indices) const;

  hb_face_t* face_ = nullptr;
  hb_font_t* font_ = nullptr;
  double per_unit_ = 1;  // 1000 / units per em
  bool is_cff_ = false;
  std::vector<uint32_t> cids_;  // by glyph; empty unless CID-keyed
  Chaine name_;
  Descriptor descriptor_;
  mutable SubsetCache subsets_;
};

}  // namespace zforms
