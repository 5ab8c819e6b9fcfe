#pragma once

#include <string>
#include <vector>

#include "zforms/appearance/drawing_fonts.h"

namespace zforms::tool {

// How a command draws fields.
struct DrawingOptions {
  bool draw = true;
  std::vector<std::string> fonts;  // files
};

// Opens the font files. False, with a message, when one of them cannot be used.
bool OpenFonts(const DrawingOptions& options, ZDrawingFonts* fonts);

}  // namespace zforms::tool
