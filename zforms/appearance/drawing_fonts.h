#pragma once

#include <memory>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class FontLibrary;

// The fonts for characters that a form's own fonts do not have: first the font files that were added, in their order,
// then the fonts of the system. Copies share the fonts. Each font is opened once, so use one object for many forms. Any
// thread may draw with it.
class ZFORMS_API ZDrawingFonts {
 public:
  ZDrawingFonts();
  ~ZDrawingFonts();
  ZDrawingFonts(const ZDrawingFonts&);
  ZDrawingFonts& operator=(const ZDrawingFonts&);

  // Adds a font file (TrueType or OpenType; the first face of a collection). False when it cannot be used, such as when
  // its licence forbids embedding; `fault` then says why. Call it before the first drawing.
  bool AddFile(const Chaine& path, Chaine* fault);

  // The same fonts, for drawing many copies of one form: the form's own fonts are then read only once for all copies.
  // The copies must have the same fonts as the form.
  ZDrawingFonts ForCopiesOfOneForm() const;
  bool AreForCopiesOfOneForm() const;

 private:
  friend class ZFieldDrawer;
  std::shared_ptr<FontLibrary> library_;
};

}  // namespace zforms
