#pragma once

#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// Conversions between UTF-8, the text of forms' data and of the host, and the
// encodings that PDF and XML text comes in. All are pure functions.

enum class ByteOrder { eBigEndian, eLittleEndian };

// True for well-formed UTF-8 (RFC 3629): no overlong form, no surrogate,
// nothing past U+10FFFF.
ZFORMS_API bool IsValidUTF8(std::string_view text);

// A PDF text string (ISO 32000-1 7.9.2.2) of the UTF-8 text: PDFDocEncoding
// (Annex D.2) when every character has a place there, else UTF-16BE after the
// byte order mark FE FF. A PDFDocEncoding result that would begin like a byte
// order mark is written as UTF-16BE as well. U+0000 to U+0017 are the bytes 00
// to 17, as readers take them. Bytes that are not valid UTF-8 come back as
// they are.
ZFORMS_API Chaine UTF8ToPDFText(std::string_view utf8);

// The UTF-8 text of a PDF text string; always valid UTF-8. Reads UTF-16 after
// FE FF or FF FE, UTF-8 after EF BB BF when what follows is valid (ISO 32000-2),
// else PDFDocEncoding, whose undefined bytes 7F, 9F and AD give U+007F, U+009F
// and U+00AD. In Unicode strings language escape sequences are left out.
//
// PDFTextToUTF8(UTF8ToPDFText(t)) is t for any valid t without such a sequence.
// The bytes of a PDF string may change the other way round (its text may have
// a shorter form), so compare texts, not bytes.
ZFORMS_API Chaine PDFTextToUTF8(std::string_view bytes);

// A PDF name's bytes are UTF-8 (ISO 32000-1 7.3.5), so the text passes as it
// is. A leading slash may be there or not, here and below.
ZFORMS_API Chaine UTF8ToPDFName(std::string_view utf8);

// The UTF-8 text of a name; always valid UTF-8. Bytes that are not valid UTF-8,
// which older producers write, are read as a PDF text string.
ZFORMS_API Chaine PDFNameToUTF8(std::string_view name);

// UTF-16 without a byte order mark. Bytes that are not valid UTF-8 give U+FFFD.
ZFORMS_API Chaine UTF8ToUTF16BE(std::string_view utf8);

// UTF-8 of the UTF-16 code units; a byte order mark is a character like any
// other. Unpaired surrogates give U+FFFD, an odd last byte is dropped.
ZFORMS_API Chaine UTF16ToUTF8(std::string_view bytes, ByteOrder order);

// The bytes without a character in windows-1252 (81, 8D, 8F, 90, 9D) give the
// control characters of the same number.
ZFORMS_API Chaine Windows1252ToUTF8(std::string_view bytes);
ZFORMS_API Chaine Latin1ToUTF8(std::string_view bytes);

// The text with this line end for each of its own, which are CR LF, CR or LF.
ZFORMS_API Chaine WithLineEnds(std::string_view text, std::string_view line_end);

// Appends the UTF-8 bytes of the code point. Precondition: c <= 0x10FFFF.
ZFORMS_API void AppendUTF8(Chaine* out, char32_t c);

}  // namespace zforms
