#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "zforms/appearance/fonts/font_encodings.h"
#include "zforms/appearance/fonts/glyph_list.h"
#include "zforms/appearance/fonts/text_font.h"

namespace zforms {

enum class FontFamily : uint8_t { kHelvetica, kTimes, kCourier, kSymbol, kZapfDingbats };

// One of the 14 fonts that every PDF viewer has (ISO 32000-1 9.6.2.2), with the metrics that their maker published. All
// objects are constants.
struct StandardFont {
  std::string_view name;  // as in "/BaseFont", without slash
  FontFamily family;
  bool bold;
  bool italic;
  // For the two symbol fonts, which have no published ascent and descent, these are their highest and lowest points.
  TextFontMetrics metrics;

  bool IsSymbolic() const { return family == FontFamily::kSymbol || family == FontFamily::kZapfDingbats; }
  // The built-in encoding, and the list that defines its glyphs' names.
  const FontEncoding& Encoding() const;
  GlyphNames Names() const { return family == FontFamily::kZapfDingbats ? GlyphNames::kDingbats : GlyphNames::kUsual; }
  // The width of the glyph, in 1/1000 of the font size; nothing where the font has no such glyph.
  std::optional<uint16_t> Width(std::string_view glyph) const;
};

// The font with that "/BaseFont", without slash: its name, or a usual alias such as "ArialMT", "TimesNewRoman,Bold" and
// "CourierNewPS-ItalicMT", with or without the tag of a subset. Null for every other name.
const StandardFont* StandardFontNamed(std::string_view base_font);

// The font that the name of a resource stands for, without slash: a usual abbreviation such as "Helv", "HeBo", "TiRo",
// "CoBo" and "ZaDb", or a name that StandardFontNamed knows.
const StandardFont* StandardFontOfResource(std::string_view resource);

// The standard font that replaces a font that is not in the file, by its name and "/Flags" of its descriptor (ISO
// 32000-1 table 123). A symbol font only if StandardFontNamed returns one.
const StandardFont& StandardFontLike(std::string_view base_font, uint32_t flags);

}  // namespace zforms
