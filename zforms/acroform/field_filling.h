#pragma once

#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZAcroFormField;

// What filling writes into a field; for the library's sources.

// The keys that filling and drawing set or remove: in fields and widgets, in the form, and, the last, in the trailer.
// A form that is filled once for each row is restored by this list.
inline constexpr const char* kFilledKeys[] = {"/V", "/AS", "/RV", "/I", "/AP", "/NeedAppearances", "/Size"};

// True when two UTF-8 texts differ at most in the kind of their line ends.
bool IsSameText(const Chaine& a, const Chaine& b);
// The UTF-8 text with every line end replaced by LF.
Chaine WithLF(const Chaine& text);

// Whether a new text that differs from the old one only in its line ends is written.
enum class LineEnds { kWritten, kKept };

// Sets "/V" of the field, and of its widgets that have their own "/V", to the UTF-8 text. The same text in another
// encoding is not changed. Removes "/RV" of the old value unless `has_rich_text` says that it belongs to the new one.
void FillText(ZAcroFormField& field, const Chaine& utf8, bool has_rich_text, LineEnds line_ends);

}  // namespace zforms
