#pragma once

#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZAcroFormField;

// How filling writes texts; for the library's sources.

// Whether two UTF-8 texts differ in nothing but the kind of their line ends.
bool IsSameText(const Chaine& a, const Chaine& b);
// The UTF-8 text with LF for each of its line ends.
Chaine WithLF(const Chaine& text);

// What becomes of a text that differs in the kind of its line ends alone.
enum class LineEnds { kWritten, kKept };

// Sets "/V" of the field, and of its widgets that have one of their own, to the UTF-8
// text. Text that is the same in another encoding stays. "/RV" of the former value goes
// unless `has_rich_text` says that it belongs to the new one.
void FillText(ZAcroFormField& field, const Chaine& utf8, bool has_rich_text, LineEnds line_ends);

}  // namespace zforms
