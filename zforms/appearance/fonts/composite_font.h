#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

#include "zforms/appearance/fonts/character_map.h"
#include "zforms/appearance/fonts/resource_font.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZPDFNodeArray;

// A Type 0 font (ISO 32000-1 9.7) for horizontal writing whose program is in the file. The code for a character comes
// from the inverse of "/ToUnicode", or from the program's map from Unicode when codes are CIDs. A font whose program is
// not in the file has no characters here, since few viewers have a replacement for it.
class CompositeFont final : public FontCodes {
 public:
  explicit CompositeFont(const ZPDFNodeDictionary& font);
  ~CompositeFont() override;

  std::optional<FontCode> Find(char32_t c) const override;

 private:
  enum class Codes : uint8_t { kNone, kCids, kMapped, kUnicode };
  struct Widths {
    uint32_t first, last;  // CIDs
    double width;
  };
  struct Cid {
    uint32_t cid;
    uint8_t size;  // the size of the code, in bytes
  };

  void ReadEncoding(const ZPDFNode* encoding);
  void ReadTexts(const ZPDFNode* map);
  void ReadWidths(const ZPDFNodeArray& list);
  void ReadGlyphMap(const ZPDFNodeDictionary& descendant);
  std::optional<FontCode> Search(char32_t c) const;
  std::optional<FontCode> ByText(char32_t c) const;
  std::optional<FontCode> ByProgram(char32_t c) const;
  std::optional<FontCode> ByUnicode(char32_t c) const;
  std::optional<Cid> CidOf(uint32_t code) const;
  uint32_t GlyphOf(uint32_t cid) const;
  uint32_t CidOfGlyph(uint32_t glyph) const;
  bool Shows(uint32_t glyph, char32_t c) const;
  double WidthOf(uint32_t cid) const;

  Codes codes_ = Codes::kNone;
  std::unique_ptr<ProgramGlyphs> program_;
  std::vector<std::pair<char32_t, uint32_t>> texts_;  // characters and their codes, sorted
  std::vector<CharacterMap::Cids> cids_;              // sorted by the first codes
  std::vector<Widths> widths_;                        // sorted by the first CIDs
  double default_width_ = 1000;
  bool has_glyph_map_ = false;
  Chaine glyph_map_;  // the glyph of each CID, in two bytes
  // Protects the members below, and the program.
  mutable std::mutex mutex_;
  // Codes found so far, and the CID of each glyph, computed when first needed.
  mutable std::unordered_map<char32_t, std::optional<FontCode>> found_;
  mutable std::vector<uint16_t> cid_of_glyph_;
};

}  // namespace zforms
