#include "zforms/platform/text/letter_case.h"

#include <algorithm>
#include <cstdint>

namespace zforms {
namespace {

char FoldASCII(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

// A range of capitals at the same distance from their small letters. In ranges with a step of 2 every second character
// is a capital.
struct Capitals {
  uint32_t first;
  uint32_t last;
  uint32_t step;
  int32_t distance;
};
constexpr Capitals kCapitals[] = {
    {0xC0, 0xD6, 1, 32},   {0xD8, 0xDE, 1, 32},     {0x100, 0x12E, 2, 1},  {0x132, 0x136, 2, 1},  {0x139, 0x147, 2, 1},
    {0x14A, 0x176, 2, 1},  {0x178, 0x178, 1, -121}, {0x179, 0x17D, 2, 1},  {0x386, 0x386, 1, 38}, {0x388, 0x38A, 1, 37},
    {0x38C, 0x38C, 1, 64}, {0x38E, 0x38F, 1, 63},   {0x391, 0x3A1, 1, 32}, {0x3A3, 0x3AB, 1, 32}, {0x3C2, 0x3C2, 1, 1},
    {0x400, 0x40F, 1, 80}, {0x410, 0x42F, 1, 32},
};

uint32_t Fold(uint32_t c) {
  for (const Capitals& capitals : kCapitals) {
    if (c < capitals.first || c > capitals.last || (c - capitals.first) % capitals.step != 0) continue;
    return static_cast<uint32_t>(static_cast<int32_t>(c) + capitals.distance);
  }
  return c;
}

bool IsTwoByteCharacter(std::string_view text) {
  return text.size() >= 2 && (text[0] & 0xE0) == 0xC0 && (text[1] & 0xC0) == 0x80;
}

}  // namespace

bool SameIgnoringASCIICase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return FoldASCII(x) == FoldASCII(y); });
}

// All letters of the table and their small letters take two bytes in UTF-8.
Chaine FoldCase(std::string_view utf8) {
  Chaine folded;
  for (size_t i = 0; i < utf8.size(); i++) {
    if (!IsTwoByteCharacter(utf8.substr(i))) {
      folded += FoldASCII(utf8[i]);
      continue;
    }
    const uint32_t c = Fold((static_cast<uint32_t>(utf8[i] & 0x1F) << 6) | static_cast<uint32_t>(utf8[i + 1] & 0x3F));
    folded += static_cast<char>(0xC0 | (c >> 6));
    folded += static_cast<char>(0x80 | (c & 0x3F));
    i++;
  }
  return folded;
}

}  // namespace zforms
