#pragma once

#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// Conversions between UTF-8, which form data and the host use, and the encodings of PDF and XML text. All are pure
// functions.

enum class ByteOrder { eBigEndian, eLittleEndian };

// True for well-formed UTF-8 (RFC 3629): no overlong form, no surrogate,
// nothing past U+10FFFF.
ZFORMS_API bool IsValidUTF8(std::string_view text);

// Converts UTF-8 to a PDF text string (ISO 32000-1 7.9.2.2): PDFDocEncoding (Annex D.2) when it has every character,
// else UTF-16BE after the byte order mark FE FF. Text that would begin like a byte order mark in PDFDocEncoding is
// written as UTF-16BE as well. U+0000 to U+0017 become the bytes 00 to 17, as other readers expect. Bytes that are not
// valid UTF-8 are returned unchanged.
ZFORMS_API Chaine UTF8ToPDFText(std::string_view utf8);

// Converts a PDF text string to UTF-8; the result is always valid. Reads UTF-16 after FE FF or FF FE, UTF-8 after EF BB
// BF when the rest is valid (ISO 32000-2), else PDFDocEncoding, whose undefined bytes 7F, 9F and AD give U+007F, U+009F
// and U+00AD. Language escape sequences in Unicode strings are removed.
//
// PDFTextToUTF8(UTF8ToPDFText(t)) is t for any valid t without such a sequence. The opposite round trip may change
// bytes, since the text may have a shorter form; so compare texts, not bytes.
ZFORMS_API Chaine PDFTextToUTF8(std::string_view bytes);

// Converts UTF-8 to the bytes of a PDF name, which are UTF-8 too (ISO 32000-1 7.3.5), so nothing changes. A leading
// slash is optional, here and below.
ZFORMS_API Chaine UTF8ToPDFName(std::string_view utf8);

// Converts a name to UTF-8; the result is always valid. Bytes that are not valid UTF-8, as written by older producers,
// are read as a PDF text string.
ZFORMS_API Chaine PDFNameToUTF8(std::string_view name);

// Writes UTF-16 without a byte order mark. Bytes that are not valid UTF-8 give U+FFFD.
ZFORMS_API Chaine UTF8ToUTF16BE(std::string_view utf8);

// Converts UTF-16 code units to UTF-8; a byte order mark is an ordinary character here. Unpaired surrogates give
// U+FFFD; an odd last byte is dropped.
ZFORMS_API Chaine UTF16ToUTF8(std::string_view bytes, ByteOrder order);

// Converts windows-1252 to UTF-8. Bytes without a character (81, 8D, 8F, 90, 9D) give the control characters of the
// same number.
ZFORMS_API Chaine Windows1252ToUTF8(std::string_view bytes);
ZFORMS_API Chaine Latin1ToUTF8(std::string_view bytes);

// The text with every line end (CR LF, CR or LF) replaced by `line_end`.
ZFORMS_API Chaine WithLineEnds(std::string_view text, std::string_view line_end);

// Appends the UTF-8 bytes of the code point. Precondition: c <= 0x10FFFF.
ZFORMS_API void AppendUTF8(Chaine* out, char32_t c);

}  // namespace zforms
