#pragma once

#include <string>

#include "zforms/appearance/fonts/font_source.h"
#include "zforms/appearance/text_paragraph.h"

namespace zforms {

class FallbackFonts;

// Shapes the text, which has no line ends, run by run: in `font` when that has all the characters of the run and can
// show its script, else in a font of `fallback` (may be null) with that style. The order of characters follows UAX 9,
// the places where lines may break UAX 14; Thai, Lao and Khmer break only at blanks, since their words are not
// recognized. Characters that no font has are added to `missing` and shown as "?".
TextParagraph MakeParagraph(std::u32string text, TextFont* font, const ZFontStyle& style, FallbackFonts* fallback,
                            std::u32string* missing);

}  // namespace zforms
