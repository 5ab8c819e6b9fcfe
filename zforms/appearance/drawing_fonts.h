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

 private:
  friend class ZFieldDrawer;
  std::shared_ptr<FontLibrary> library_;
};

}  // namespace zforms
