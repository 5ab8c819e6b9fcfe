#include "zforms/appearance/drawing_fonts.h"

#include "zforms/appearance/fonts/font_library.h"

namespace zforms {

ZDrawingFonts::ZDrawingFonts() : library_(std::make_shared<FontLibrary>(ZFontSource::OfSystem())) {}

ZDrawingFonts::~ZDrawingFonts() = default;
ZDrawingFonts::ZDrawingFonts(const ZDrawingFonts&) = default;
ZDrawingFonts& ZDrawingFonts::operator=(const ZDrawingFonts&) = default;

ZDrawingFonts ZDrawingFonts::ForCopiesOfOneForm() const {
  ZDrawingFonts fonts = *this;
  fonts.library_ = std::make_shared<FontLibrary>(library_);
  return fonts;
}

bool ZDrawingFonts::AreForCopiesOfOneForm() const { return library_->OfForm() != nullptr; }

bool ZDrawingFonts::AddFile(const Chaine& path, Chaine* fault) { return library_->AddFile(path, fault); }

}  // namespace zforms
