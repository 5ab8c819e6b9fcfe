#pragma once

#include <memory>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class FontLibrary;

// The fonts for characters that a form's own fonts lack: font files that were named, in their order, then the fonts
// that the system lists. Copies share the fonts, and each is opened once, so use one object for many forms. Any thread
// may draw with it.
class ZFORMS_API ZDrawingFonts {
 public:
  ZDrawingFonts();
  ~ZDrawingFonts();
  ZDrawingFonts(const ZDrawingFonts&);
  ZDrawingFonts& operator=(const ZDrawingFonts&);

  // Adds a font file (TrueType or OpenType; of a collection the first face). False when it cannot be used, such as when
  // its licence forbids embedding; `fault` then says why. Call it before the first drawing.
  bool AddFile(const Chaine& path, Chaine* fault);

  // The same fonts for copies of one form, which must be as it was loaded: what the form's own fonts say is read once
  // for all the copies that are drawn with the result or with copies of it.
  ZDrawingFonts ForCopiesOfOneForm() const;
  bool AreForCopiesOfOneForm() const;

 private:
  friend class ZFieldDrawer;
  std::shared_ptr<FontLibrary> library_;
};

}  // namespace zforms
