#pragma once

#include <cstdint>
#include <string_view>

namespace zforms {

// The list in which a glyph's name is looked up first. The list of ZapfDingbats has its own names, such as "a20".
enum class GlyphNames : uint8_t { kUsual, kDingbats };

// The code point that a glyph's name stands for, by the rules of the Adobe Glyph List: a name of the list, "uni" with
// four hexadecimal digits, or "u" with four to six; a period and the text after it are ignored. 0 for every other name.
char32_t GlyphCharacter(std::string_view name, GlyphNames names = GlyphNames::kUsual);

// The other code point that has the same glyph; 0 when there is none. In the list, the blank and the no-break space
// have the glyph "space", the micro sign and the small mu the glyph "mu".
char32_t SameGlyphCharacter(char32_t c);

}  // namespace zforms
