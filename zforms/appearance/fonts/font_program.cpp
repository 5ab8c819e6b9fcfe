#include "zforms/appearance/fonts/font_program.h"

#include <ft2build.h>
#include <hb-ot.h>
#include <hb-subset.h>
#include <hb.h>
#include FT_FREETYPE_H
#include FT_CID_H

#include <algorithm>
#include <cmath>

#include "zforms/appearance/fonts/font_bytes.h"
#include "zforms/pdf/parser/stream_filters.h"

namespace zforms {
namespace {

template <class Type, void (*Destroy)(Type*)>
struct Destroyer {
  void operator()(Type* object) const { Destroy(object); }
};
using Blob = std::unique_ptr<hb_blob_t, Destroyer<hb_blob_t, hb_blob_destroy>>;
using Face = std::unique_ptr<hb_face_t, Destroyer<hb_face_t, hb_face_destroy>>;
using Buffer = std::unique_ptr<hb_buffer_t, Destroyer<hb_buffer_t, hb_buffer_destroy>>;
using SubsetInput = std::unique_ptr<hb_subset_input_t, Destroyer<hb_subset_input_t, hb_subset_input_destroy>>;
using SubsetPlan = std::unique_ptr<hb_subset_plan_t, Destroyer<hb_subset_plan_t, hb_subset_plan_destroy>>;

constexpr hb_tag_t kCFF = HB_TAG('C', 'F', 'F', ' ');
// The tables that an embedded font does not need: characters are mapped and shaped already, and the descriptor has the
// rest.
constexpr hb_tag_t kDroppedTables[] = {
    HB_TAG('G', 'S', 'U', 'B'), HB_TAG('G', 'P', 'O', 'S'), HB_TAG('G', 'D', 'E', 'F'),
    HB_TAG('k', 'e', 'r', 'n'), HB_TAG('n', 'a', 'm', 'e'), HB_TAG('p', 'o', 's', 't'),
    HB_TAG('O', 'S', '/', '2'), HB_TAG('c', 'm', 'a', 'p'), HB_TAG('D', 'S', 'I', 'G')};

// Flags of a font descriptor (ISO 32000-1 table 123).
constexpr uint32_t kFixedPitch = 1U << 0;
constexpr uint32_t kSerif = 1U << 1;
constexpr uint32_t kSymbolic = 1U << 2;
constexpr uint32_t kItalic = 1U << 6;

std::string_view View(const Blob& blob) {
  unsigned length = 0;
  const char* const data = hb_blob_get_data(blob.get(), &length);
  return {data == nullptr ? "" : data, data == nullptr ? 0 : length};
}

// Big-endian numbers of a font table; 0 past its end.
uint32_t U16At(std::string_view table, size_t at) {
  if (at + 2 > table.size()) return 0;
  return static_cast<uint32_t>(static_cast<uint8_t>(table[at])) << 8 | static_cast<uint8_t>(table[at + 1]);
}
int32_t I16At(std::string_view table, size_t at) { return static_cast<int16_t>(U16At(table, at)); }

Blob TableOf(hb_face_t* face, hb_tag_t tag) { return Blob(hb_face_reference_table(face, tag)); }

// Why fsType of the OS/2 table (OpenType) forbids embedding a subset; empty when it does not.
const char* LicenceFault(std::string_view os2) {
  constexpr size_t kTypeAt = 8;
  const uint32_t type = U16At(os2, kTypeAt);
  if ((type & 0xF) == 0x2) return "its licence forbids embedding";
  if ((type & 0x100) != 0) return "its licence forbids embedding a subset of the font";
  if ((type & 0x200) != 0) return "its licence allows embedding only bitmaps";
  return "";
}

// The PostScript name, reduced to letters, digits and hyphens, which are allowed in every PDF name and font name.
Chaine CleanName(hb_face_t* face) {
  char text[64];
  unsigned length = sizeof text;
  hb_ot_name_get_utf8(face, HB_OT_NAME_ID_POSTSCRIPT_NAME, HB_LANGUAGE_INVALID, &length, text);
  Chaine name;
  for (const char c : std::string_view(text, std::min<size_t>(length, sizeof text - 1))) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-') name.Append(c);
  }
  return name.IsEmpty() ? Chaine("Font") : name;
}

// The contents of "/CIDToGIDMap": for each code, the index of its glyph in the subset, big-endian (9.7.4.2).
Chaine CodesToIndices(const std::vector<uint32_t>& glyphs, const std::vector<uint32_t>& indices) {
  const uint32_t last = glyphs.empty() ? 0 : *std::max_element(glyphs.begin(), glyphs.end());
  std::string map(2 * (size_t{last} + 1), '\0');
  for (size_t i = 0; i < glyphs.size(); i++) {
    map[2 * glyphs[i]] = static_cast<char>(indices[i] >> 8);
    map[2 * glyphs[i] + 1] = static_cast<char>(indices[i] & 0xFF);
  }
  return map;
}

}  // namespace

std::shared_ptr<const FontProgram> FontProgram::Open(const ZFontFile& file, Chaine* fault) {
  const Blob blob(OpenFontBytes(file.path));
  if (blob == nullptr || file.face >= hb_face_count(blob.get())) {
    *fault = blob == nullptr ? "cannot be read" : "is not a font file";
    return nullptr;
  }
  const std::shared_ptr<FontProgram> program(new FontProgram);
  program->face_ = hb_face_create(blob.get(), file.face);
  if (!program->ReadTables(fault)) return nullptr;
  program->font_ = hb_font_create(program->face_);
  hb_font_make_immutable(program->font_);
  program->ReadDescriptor();
  if (program->is_cff_) program->ReadCIDs(View(blob), file.face);
  return program;
}

FontProgram::~FontProgram() {
  hb_font_destroy(font_);
  hb_face_destroy(face_);
}

bool FontProgram::ReadTables(Chaine* fault) {
  const bool has_outlines = !View(TableOf(face_, HB_TAG('g', 'l', 'y', 'f'))).empty();
  is_cff_ = !View(TableOf(face_, kCFF)).empty();
  *fault = LicenceFault(View(TableOf(face_, HB_TAG('O', 'S', '/', '2'))));
  if (!has_outlines && !is_cff_) *fault = "has no TrueType or CFF outlines";
  if (!fault->IsEmpty()) return false;
  hb_face_make_immutable(face_);
  per_unit_ = 1000.0 / std::max(1U, hb_face_get_upem(face_));
  name_ = CleanName(face_);
  return true;
}

void FontProgram::ReadDescriptor() {
  const auto metric = [this](hb_ot_metrics_tag_t tag) {
    hb_position_t value = 0;
    hb_ot_metrics_get_position_with_fallback(font_, tag, &value);
    return value * per_unit_;
  };
  descriptor_.metrics = {metric(HB_OT_METRICS_TAG_HORIZONTAL_ASCENDER), metric(HB_OT_METRICS_TAG_HORIZONTAL_DESCENDER),
                         metric(HB_OT_METRICS_TAG_CAP_HEIGHT)};
  const Blob head = TableOf(face_, HB_TAG('h', 'e', 'a', 'd'));
  constexpr size_t kBoxAt = 36;
  for (size_t i = 0; i < 4; i++) {
    descriptor_.box[i] = static_cast<int32_t>(std::lround(I16At(View(head), kBoxAt + 2 * i) * per_unit_));
  }
  const Blob post = TableOf(face_, HB_TAG('p', 'o', 's', 't'));
  descriptor_.italic_angle = I16At(View(post), 4);
  const Blob os2 = TableOf(face_, HB_TAG('O', 'S', '/', '2'));
  constexpr size_t kFamilyClassAt = 30;
  const uint32_t family = U16At(View(os2), kFamilyClassAt) >> 8;
  const bool is_fixed = U16At(View(post), 12) != 0 || U16At(View(post), 14) != 0;
  descriptor_.flags = kSymbolic | (is_fixed ? kFixedPitch : 0) | (family >= 1 && family <= 7 ? kSerif : 0) |
                      (descriptor_.italic_angle != 0 ? kItalic : 0);
}

void FontProgram::ReadCIDs(std::string_view bytes, uint32_t index) {
  FT_Library library = nullptr;
  FT_Face face = nullptr;
  if (FT_Init_FreeType(&library) != 0) return;
  FT_Bool is_cid_keyed = 0;
  if (FT_New_Memory_Face(library, reinterpret_cast<const FT_Byte*>(bytes.data()), static_cast<FT_Long>(bytes.size()),
                         static_cast<FT_Long>(index), &face) == 0 &&
      FT_Get_CID_Is_Internally_CID_Keyed(face, &is_cid_keyed) == 0 && is_cid_keyed != 0) {
    cids_.resize(hb_face_get_glyph_count(face_));
    for (uint32_t glyph = 0; glyph < cids_.size(); glyph++) {
      FT_UInt cid = 0;
      FT_Get_CID_From_Glyph_Index(face, glyph, &cid);
      cids_[glyph] = cid;
    }
  }
  FT_Done_FreeType(library);
}

uint32_t FontProgram::GlyphOf(char32_t c) const {
  hb_codepoint_t glyph = 0;
  return hb_font_get_nominal_glyph(font_, c, &glyph) != 0 ? glyph : 0;
}

double FontProgram::WidthOf(uint32_t glyph) const { return hb_font_get_glyph_h_advance(font_, glyph) * per_unit_; }

uint32_t FontProgram::CodeOf(uint32_t glyph) const { return glyph < cids_.size() ? cids_[glyph] : glyph; }

uint32_t FontProgram::GlyphOfCode(uint32_t code) const {
  if (cids_.empty()) return code < hb_face_get_glyph_count(face_) ? code : 0;
  const auto found = std::find(cids_.begin(), cids_.end(), code);
  return found == cids_.end() ? 0 : static_cast<uint32_t>(found - cids_.begin());
}

std::vector<FontProgram::Glyph> FontProgram::Shape(std::u32string_view paragraph, size_t from, size_t count,
                                                   bool right_to_left) const {
  const Buffer buffer(hb_buffer_create());
  hb_buffer_add_utf32(buffer.get(), reinterpret_cast<const uint32_t*>(paragraph.data()),
                      static_cast<int>(paragraph.size()), static_cast<unsigned>(from), static_cast<int>(count));
  hb_buffer_set_direction(buffer.get(), right_to_left ? HB_DIRECTION_RTL : HB_DIRECTION_LTR);
  hb_buffer_guess_segment_properties(buffer.get());
  hb_shape(font_, buffer.get(), nullptr, 0);
  unsigned length = 0;
  const hb_glyph_info_t* const infos = hb_buffer_get_glyph_infos(buffer.get(), &length);
  const hb_glyph_position_t* const positions = hb_buffer_get_glyph_positions(buffer.get(), &length);
  std::vector<Glyph> glyphs(length);
  for (unsigned i = 0; i < length; i++) {
    glyphs[i] = {infos[i].codepoint, infos[i].cluster, positions[i].x_advance * per_unit_,
                 positions[i].x_offset * per_unit_, positions[i].y_offset * per_unit_};
  }
  return glyphs;
}

std::shared_ptr<const FontSubset> FontProgram::Subset(const std::vector<uint32_t>& glyphs) const {
  return subsets_.Get(glyphs, [&] { return MakeSubset(glyphs); });
}

FontSubset FontProgram::MakeSubset(const std::vector<uint32_t>& glyphs) const {
  std::vector<uint32_t> indices;
  const Chaine file = Cut(glyphs, &indices);
  if (file.IsEmpty()) return {};
  FontSubset subset{FlateEncoded(file), static_cast<uint32_t>(file.size()), {}};
  if (!is_cff_) subset.codes_to_indices = FlateEncoded(CodesToIndices(glyphs, indices));
  return subset;
}

Chaine FontProgram::Cut(const std::vector<uint32_t>& glyphs, std::vector<uint32_t>* indices) const {
  const SubsetInput input(hb_subset_input_create_or_fail());
  if (input == nullptr) return {};
  // A name-keyed CFF font cannot say which code means which glyph, so its glyphs keep their indices.
  const bool keeps_places = is_cff_ && !IsCIDKeyed();
  hb_subset_input_set_flags(input.get(), HB_SUBSET_FLAGS_NO_HINTING | HB_SUBSET_FLAGS_NOTDEF_OUTLINE |
                                             (keeps_places ? HB_SUBSET_FLAGS_RETAIN_GIDS : HB_SUBSET_FLAGS_DEFAULT));
  for (const uint32_t glyph : glyphs) hb_set_add(hb_subset_input_glyph_set(input.get()), glyph);
  hb_set_t* const dropped = hb_subset_input_set(input.get(), HB_SUBSET_SETS_DROP_TABLE_TAG);
  for (const hb_tag_t tag : kDroppedTables) hb_set_add(dropped, tag);
  hb_ot_var_axis_info_t axes[32];
  unsigned axis_count = std::size(axes);
  hb_ot_var_get_axis_infos(face_, 0, &axis_count, axes);
  for (unsigned i = 0; i < axis_count; i++) hb_subset_input_pin_axis_to_default(input.get(), face_, axes[i].tag);

  const SubsetPlan plan(hb_subset_plan_create_or_fail(face_, input.get()));
  if (plan == nullptr) return {};
  const Face subset(hb_subset_plan_execute_or_fail(plan.get()));
  if (subset == nullptr) return {};
  indices->clear();
  const hb_map_t* const places = hb_subset_plan_old_to_new_glyph_mapping(plan.get());
  for (const uint32_t glyph : glyphs) indices->push_back(hb_map_get(places, glyph));
  return Chaine(View(is_cff_ ? TableOf(subset.get(), kCFF) : Blob(hb_face_reference_blob(subset.get()))));
}

}  // namespace zforms
