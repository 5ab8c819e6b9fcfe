#include "zforms/appearance/drawing_fonts.h"

#include "zforms/appearance/fonts/font_library.h"

namespace zforms {

ZDrawingFonts::ZDrawingFonts() : library_(std::make_shared<FontLibrary>(ZFontSource::OfSystem())) {}

ZDrawingFonts::~ZDrawingFonts() = default;
ZDrawingFonts::ZDrawingFonts(const ZDrawingFonts&) = default;
ZDrawingFonts& ZDrawingFonts::operator=(const ZDrawingFonts&) = default;

bool ZDrawingFonts::AddFile(const Chaine& path, Chaine* fault) { return library_->AddFile(path, fault); }

}  // namespace zforms
