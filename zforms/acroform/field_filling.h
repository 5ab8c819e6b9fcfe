#pragma once

#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZAcroFormField;

// Functions that fill in fields; only for the sources of the library.

// The keys that filling and drawing set or remove, in fields and widgets, in the form ("/NeedAppearances") and in the
// trailer ("/Size"). They are restored before a form is filled with the next row of a table.
inline constexpr const char* kFilledKeys[] = {"/V", "/AS", "/RV", "/I", "/AP", "/NeedAppearances", "/Size"};

// True when two UTF-8 texts differ at most in the kind of their line ends.
bool IsSameText(const Chaine& a, const Chaine& b);
// The UTF-8 text with every line end replaced by LF.
Chaine WithLF(const Chaine& text);

// What happens to a new text that differs from the old one only in its line ends: it is written, or the old one is
// kept.
enum class LineEnds { kWritten, kKept };

// Sets "/V" of the field, and of its widgets that have their own "/V", to the UTF-8 text. A value that is the same text
// in another encoding is not changed. Removes "/RV" of the old value unless `has_rich_text` says that it belongs to the
// new one.
void FillText(ZAcroFormField& field, const Chaine& utf8, bool has_rich_text, LineEnds line_ends);

}  // namespace zforms
