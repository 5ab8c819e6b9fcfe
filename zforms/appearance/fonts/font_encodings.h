#pragma once

#include <array>
#include <string_view>

namespace zforms {

// The names of the glyphs that the codes of a simple font show, without slash; empty where a code shows none.
using FontEncoding = std::array<std::string_view, 256>;

// The built-in encodings of the standard fonts (ISO 32000-1 Annex D.2, D.5 and D.6), and the two encodings that are
// used with TrueType fonts, WinAnsi and MacRoman.
const FontEncoding& StandardEncoding();
const FontEncoding& WinAnsiEncoding();
const FontEncoding& MacRomanEncoding();
const FontEncoding& SymbolEncoding();
const FontEncoding& ZapfDingbatsEncoding();

// The encoding that "/Encoding" or "/BaseEncoding" names (with its slash): Standard, WinAnsi, MacRoman, MacExpert, and
// PDFDoc, which older forms use. Null for every other name.
const FontEncoding* EncodingNamed(std::string_view name);

// The characters that the codes of an encoding stand for, 0 where there is none.
using EncodingCharacters = std::array<char32_t, 256>;

// The characters of one of the encodings above. Looked up at the first call for each; any number of threads may call
// it.
const EncodingCharacters& CharactersOf(const FontEncoding& encoding);

}  // namespace zforms
