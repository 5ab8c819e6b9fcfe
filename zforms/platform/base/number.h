#pragma once

#include <cstdint>
#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// Reads and writes numbers as in PDF and form data, independently of the locale.
//
// Reading trims the blanks "\r\n\t\f " at both ends and stops at the first character that cannot continue the number.
// Text without a number reads as 0. A value out of range gives the nearest value in range.

// Reads an optional sign and decimal digits.
ZFORMS_API int32_t ParseInt(std::string_view text);

// As ParseInt. A leading "-" gives the number modulo 2^32, so "-4" reads as 4294967292. A value out of range gives
// 4294967295 with either sign.
ZFORMS_API uint32_t ParseUInt(std::string_view text);

// As ParseUInt, with 64 bits.
ZFORMS_API uint64_t ParseUInt64(std::string_view text);

// A fixed-point number such as "5", "-.5", "5." or "+0.25". PDF has no exponents: "1e5" reads as 1. With repeated
// signs, one "-" makes the number negative ("--5" is -5), as in other readers.
ZFORMS_API double ParseDouble(std::string_view text);

ZFORMS_API Chaine FormatInt(int64_t value);
ZFORMS_API Chaine FormatUInt(uint64_t value);

// The shortest fixed-point text that ParseDouble reads back as the same value: decimal separator ".", never an
// exponent. NaN and the infinities give "0".
ZFORMS_API Chaine FormatDouble(double value);

// Appends the value in decimal, padded with zeros to `width` digits.
ZFORMS_API void AppendPadded(Chaine* out, uint64_t value, int width);

}  // namespace zforms
