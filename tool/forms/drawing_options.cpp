#include "tool/forms/drawing_options.h"

#include "tool/base/console.h"

namespace zforms::tool {

bool OpenFonts(const DrawingOptions& options, ZDrawingFonts* fonts) {
  for (const std::string& file : options.fonts) {
    Chaine fault;
    if (fonts->AddFile(Chaine(file), &fault)) continue;
    Console(file).Fail(fault);
    return false;
  }
  return true;
}

}  // namespace zforms::tool
