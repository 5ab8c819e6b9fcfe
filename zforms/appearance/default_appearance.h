#pragma once

#include <string_view>

#include "zforms/platform/base/chaine.h"

namespace zforms {

// What a default appearance string, "/DA", says of a field's text (ISO 32000-1 12.7.3.3). Of each kind of operator the
// last one with sound operands counts, in whatever order they are.
struct DefaultAppearance {
  // The operand of Tf: the name of a resource, without slash and decoded. Empty where no font is named.
  Chaine font;
  // The size in units of text space; 0 where it is automatic: with 0, no size, a negative one or one beyond 10,000.
  double size = 0;
  // The operators that set the fill colour, as a content stream writes them: "0 0 1 rg", "/Cs1 cs 0.5 scn". Empty where
  // none is named, which leaves black.
  Chaine color;
  // The resource of "/ColorSpace" that `color` names, without slash; empty where it needs none.
  Chaine color_space;
  // Tc and Tw, in units of text space, and Tz, in per cent.
  double character_spacing = 0;
  double word_spacing = 0;
  double horizontal_scaling = 100;
};

// Reads no more than 4,096 bytes. What is not said above is passed over: the place of the text, its leading, rise and
// rendering mode, stroke colours, patterns.
DefaultAppearance ParseDefaultAppearance(std::string_view text);

}  // namespace zforms
