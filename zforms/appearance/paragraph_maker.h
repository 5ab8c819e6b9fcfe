#pragma once

#include <string>

#include "zforms/appearance/fonts/font_source.h"
#include "zforms/appearance/text_paragraph.h"

namespace zforms {

class FallbackFonts;

// The text, which has no line ends, in `font` where that has all the characters of a script's run and can show them,
// else in a font of `fallback` in the style, which may be null. The order is that of UAX 9, lines end where UAX 14 lets
// them; Thai, Lao and Khmer, whose words are not told apart, end at blanks alone. Characters that no font has are added
// to `missing`, and "?" is shown for them.
TextParagraph MakeParagraph(std::u32string text, TextFont* font, const ZFontStyle& style, FallbackFonts* fallback,
                            std::u32string* missing);

}  // namespace zforms
