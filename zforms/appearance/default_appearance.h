#pragma once

#include <string_view>

#include "zforms/platform/base/chaine.h"

namespace zforms {

// The contents of a default appearance string, "/DA", which says what a field's text looks like (ISO 32000-1 12.7.3.3).
// If there are several operators of one kind, the last one with valid operands counts. The order of different kinds
// does not matter.
struct DefaultAppearance {
  // The operand of Tf: the name of a resource, without slash and decoded. Empty when no font is named.
  Chaine font;
  // The size in units of text space. 0 means automatic: the size is 0, missing, negative or above 10,000.
  double size = 0;
  // The operators that set the fill colour, as a content stream writes them: "0 0 1 rg", "/Cs1 cs 0.5 scn". Empty when
  // there is none; the colour is then black.
  Chaine color;
  // The resource of "/ColorSpace" that `color` names, without slash; empty when it needs none.
  Chaine color_space;
  // Tc and Tw, in units of text space, and Tz, in per cent.
  double character_spacing = 0;
  double word_spacing = 0;
  double horizontal_scaling = 100;
};

// Reads no more than 4,096 bytes. Ignores all other operators: those for the position of the text, its leading, rise
// and rendering mode, stroke colours and patterns.
DefaultAppearance ParseDefaultAppearance(std::string_view text);

}  // namespace zforms
