#include "zforms/pdf/nesting.h"

namespace zforms {

void SkipLastBracketed(ZPDFTokenizedString& text) {
  text.Warn("arrays or dictionaries are nested too deeply; the inner part is left out");
  size_t depth = 0;
  while (!text.IsEmpty()) {
    const std::string_view token = text.TakeLastToken();
    if (token == "]" || token == ">>") {
      depth++;
    } else if ((token == "[" || token == "<<") && --depth == 0) {
      return;
    }
  }
}

}  // namespace zforms
