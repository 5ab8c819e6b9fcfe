#include "zforms/appearance/fonts/program_glyphs.h"

#include <ft2build.h>

#include <array>
#include <utility>
#include <vector>

#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/parser/stream_filters.h"
#include "zforms/pdf/stream_node.h"

#include FT_FREETYPE_H
#include FT_CID_H

namespace zforms {
namespace {

constexpr size_t kLargestProgram = size_t{64} << 20;
constexpr uint16_t kMicrosoft = 3;
constexpr uint16_t kMacintosh = 1;
// The map of a symbol font adds one of these to its codes (ISO 32000-1 9.6.6.4).
constexpr std::array<uint32_t, 4> kSymbolRanges = {0xF000, 0x0000, 0xF100, 0xF200};

}  // namespace

struct ProgramGlyphs::Face {
  Face() = default;
  Face(const Face&) = delete;
  Face& operator=(const Face&) = delete;
  ~Face() {
    if (face != nullptr) FT_Done_Face(face);
    if (library != nullptr) FT_Done_FreeType(library);
  }
  bool Open() {
    if (FT_Init_FreeType(&library) != 0) return false;
    const auto* const bytes = reinterpret_cast<const FT_Byte*>(data.data());
    if (FT_New_Memory_Face(library, bytes, static_cast<FT_Long>(data.size()), 0, &face) != 0) {
      face = nullptr;
      return false;
    }
    for (FT_Int i = 0; i < face->num_charmaps; i++) {
      auto* const map = face->charmaps[i];
      if (map->encoding == FT_ENCODING_UNICODE) unicode = unicode == nullptr ? map : unicode;
      if (map->platform_id == kMicrosoft && map->encoding_id == 0) symbol = map;
      if (map->platform_id == kMacintosh && map->encoding_id == 0) macintosh = map;
      // In a Type 1 program, the map with one of these two encodings is the program's own; FreeType makes the others
      // from the glyph names.
      if (map->encoding == FT_ENCODING_ADOBE_CUSTOM || map->encoding == FT_ENCODING_ADOBE_STANDARD) built_in = map;
    }
    FT_Bool keyed = 0;
    cid_keyed = FT_Get_CID_Is_Internally_CID_Keyed(face, &keyed) == 0 && keyed != 0;
    return true;
  }
  uint32_t By(FT_CharMap map, uint32_t code) const {
    if (map == nullptr || FT_Set_Charmap(face, map) != 0) return 0;
    return FT_Get_Char_Index(face, code);
  }
  bool Load(uint32_t glyph) const {
    return FT_Load_Glyph(face, glyph, FT_LOAD_NO_SCALE | FT_LOAD_NO_BITMAP | FT_LOAD_IGNORE_TRANSFORM) == 0;
  }
  // FreeType treats CIDs as glyph indices when the program is CFF without tables around it.
  bool TakesCids() const { return cid_keyed && !FT_IS_SFNT(face); }
  double Thousandths(double units) const {
    return face->units_per_EM == 0 ? 0 : units * 1000 / static_cast<double>(face->units_per_EM);
  }

  Chaine data;
  FT_Library library = nullptr;
  FT_Face face = nullptr;
  FT_CharMap unicode = nullptr;
  FT_CharMap symbol = nullptr;
  FT_CharMap macintosh = nullptr;
  FT_CharMap built_in = nullptr;
  bool cid_keyed = false;
  std::vector<uint32_t> by_cid;  // made when it is first asked for
};

ProgramGlyphs::ProgramGlyphs(std::unique_ptr<Face> face) : face_(std::move(face)) {}
ProgramGlyphs::~ProgramGlyphs() = default;

std::unique_ptr<ProgramGlyphs> ProgramGlyphs::Read(const ZPDFNodeDictionary& descriptor) {
  for (const char* const key : {"/FontFile", "/FontFile2", "/FontFile3"}) {
    const auto* const stream = NodeCast<ZPDFNodeStream>(descriptor.GetTarget(key));
    if (stream == nullptr) continue;
    ZPDFDecodedStream decoded = DecodeStream(*stream, kLargestProgram);
    if (!decoded.usable) return nullptr;
    auto face = std::make_unique<Face>();
    face->data = std::move(decoded.data);
    if (!face->Open()) return nullptr;
    return std::unique_ptr<ProgramGlyphs>(new ProgramGlyphs(std::move(face)));
  }
  return nullptr;
}

bool ProgramGlyphs::HasTables() const { return FT_IS_SFNT(face_->face); }

bool ProgramGlyphs::HasSymbolMap() const { return face_->symbol != nullptr; }

uint32_t ProgramGlyphs::OfName(std::string_view name) const {
  if (!FT_HAS_GLYPH_NAMES(face_->face)) return 0;
  return FT_Get_Name_Index(face_->face, std::string(name).c_str());
}

uint32_t ProgramGlyphs::OfCharacter(char32_t c) const { return face_->By(face_->unicode, c); }

uint32_t ProgramGlyphs::OfCode(uint8_t code) const {
  for (const uint32_t range : kSymbolRanges) {
    if (const uint32_t glyph = face_->By(face_->symbol, range + code); glyph != 0) return glyph;
  }
  return OfMacCode(code);
}

uint32_t ProgramGlyphs::OfMacCode(uint8_t code) const { return face_->By(face_->macintosh, code); }

uint32_t ProgramGlyphs::OfCid(uint32_t cid) const {
  if (!face_->cid_keyed || face_->TakesCids()) return cid;
  if (face_->by_cid.empty()) {
    face_->by_cid.assign(0x10000, 0);
    for (FT_Long glyph = face_->face->num_glyphs; glyph-- > 0;) {
      const uint32_t of_glyph = CidOf(static_cast<uint32_t>(glyph));
      if (of_glyph < face_->by_cid.size()) face_->by_cid[of_glyph] = static_cast<uint32_t>(glyph);
    }
  }
  return cid < face_->by_cid.size() ? face_->by_cid[cid] : 0;
}

uint32_t ProgramGlyphs::CidOf(uint32_t glyph) const {
  FT_UInt cid = 0;
  if (!face_->cid_keyed || face_->TakesCids()) return glyph;
  return FT_Get_CID_From_Glyph_Index(face_->face, glyph, &cid) == 0 ? cid : 0;
}

std::string ProgramGlyphs::BuiltInName(uint8_t code) const {
  std::array<char, 128> name{};
  const uint32_t glyph = HasTables() ? OfCode(code) : face_->By(face_->built_in, code);
  if (glyph == 0 || !FT_HAS_GLYPH_NAMES(face_->face)) return {};
  if (FT_Get_Glyph_Name(face_->face, glyph, name.data(), static_cast<FT_UInt>(name.size())) != 0) return {};
  return name.data();
}

bool ProgramGlyphs::Draws(uint32_t glyph) const {
  if (glyph == 0 || !face_->Load(glyph)) return false;
  const auto* const slot = face_->face->glyph;
  return slot->format == FT_GLYPH_FORMAT_OUTLINE && slot->outline.n_points > 0;
}

double ProgramGlyphs::Width(uint32_t glyph) const {
  return face_->Load(glyph) ? face_->Thousandths(static_cast<double>(face_->face->glyph->metrics.horiAdvance)) : 0;
}

TextFontMetrics ProgramGlyphs::Metrics() const {
  TextFontMetrics metrics{face_->Thousandths(face_->face->ascender), face_->Thousandths(face_->face->descender), 0};
  const uint32_t capital = OfCharacter('H');
  if (capital != 0 && face_->Load(capital)) {
    metrics.cap_height = face_->Thousandths(static_cast<double>(face_->face->glyph->metrics.horiBearingY));
  }
  return metrics;
}

}  // namespace zforms
