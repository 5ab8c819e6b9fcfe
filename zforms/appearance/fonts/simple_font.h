#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <utility>
#include <vector>

#include "zforms/appearance/fonts/resource_font.h"

namespace zforms {

// A font with codes of one byte: Type 1, MMType1, TrueType or Type 3 (ISO 32000-1 9.6). The glyph name of a code
// determines its character. The name comes from "/Differences", the base encoding, or the encoding built into the
// program. Without a name, "/ToUnicode" determines the character.
class SimpleFont final : public FontCodes {
 public:
  explicit SimpleFont(const ZPDFNodeDictionary& font);
  ~SimpleFont() override;

  std::optional<FontCode> Find(char32_t c) const override;

 private:
  void Add(char32_t c, uint8_t code);
  std::optional<FontCode> FindExactly(char32_t c) const;

  std::array<double, 256> widths_{};
  std::bitset<256> plain_;
  // The code of each character up to U+00FF, -1 for none; then the other characters, sorted.
  std::array<int16_t, 256> latin_{};
  std::vector<std::pair<char32_t, uint8_t>> others_;
};

}  // namespace zforms
