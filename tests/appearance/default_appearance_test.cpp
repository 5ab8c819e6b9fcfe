#include "zforms/appearance/default_appearance.h"

#include <gtest/gtest.h>

#include <string>

#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

std::string Described(std::string_view text) {
  const DefaultAppearance appearance = ParseDefaultAppearance(text);
  std::string described = appearance.font.ToString() + " " + FormatDouble(appearance.size).ToString();
  if (!appearance.color.IsEmpty()) described += "; " + appearance.color.ToString();
  if (!appearance.color_space.IsEmpty()) described += "; " + appearance.color_space.ToString();
  if (appearance.character_spacing != 0 || appearance.word_spacing != 0 || appearance.horizontal_scaling != 100) {
    described += "; " + (FormatDouble(appearance.character_spacing) + " " + FormatDouble(appearance.word_spacing) +
                         " " + FormatDouble(appearance.horizontal_scaling))
                            .ToString();
  }
  return described;
}

TEST(DefaultAppearance, SaysFontSizeColorAndSpacing) {
  const struct {
    const char* text;
    const char* expected;
  } cases[] = {
      {"/Helv 12 Tf 0 g", "Helv 12; 0 g"},
      {"0 0 1 rg /HeBo 9.5 Tf", "HeBo 9.5; 0 0 1 rg"},
      {"/F1 0 Tf 0 g 0.1 .2 0.3 -.4 k", "F1 0; 0.1 0.2 0.3 0 k"},
      {"0 g/Helv 0 Tf", "Helv 0; 0 g"},
      {"BT /A 1 Tf 1 0 0 1 2 3 Tm 4 5 Td 6 TL 2 Tr ET", "A 1"},
      {"/A 1 Tf /B 2 Tf 1 g 0.5 g 1 G 1 0 0 RG", "B 2; 0.5 g"},
      {"/Arial#2CBold 10 Tf", "Arial,Bold 10"},
      {"%/A 1 Tf 0 g\r/B 2 Tf", "B 2"},
      // An invalid size means an automatic one.
      {"/A -12 Tf", "A 0"},
      {"/A 1000000000000000000000000 Tf", "A 0"},
      {"/A Tf", "A 0"},
      {"/A x Tf /B Tf", "B 0"},
      // Operators with missing or malformed operands are ignored.
      {"", " 0"},
      {"12 Tf 1 0 rg Tf g k sc", " 0"},
      {"/A 12 Tf (B) 9 Tf 9", "A 12"},
      {"/A 12 Tf [/B 9] << /C 9 >> (\\) /D 9 Tf", "A 12"},
      {"/A 12 Tf - g . g +- g 1e5 g", "A 12"},
      {"/A 1 2 Tf /A 3 4", " 0"},
      // Colours: device components are limited to [0, 1]; without "cs" their number selects the device colour space.
      {"/A 1 Tf 7 -1 .5 rg", "A 1; 1 0 0.5 rg"},
      {"/A 1 Tf 1 0 0 sc", "A 1; 1 0 0 rg"},
      {"/A 1 Tf /DeviceCMYK cs 1 0 0 0 scn", "A 1; 1 0 0 0 k"},
      {"/Cs1 cs 0.5 300 scn /A 1 Tf", "A 1; /Cs1 cs 0.5 300 scn; Cs1"},
      {"/C#20s cs 1 sc /A 1 Tf", "A 1; /C#20s cs 1 sc; C s"},
      {"/Cs1 cs 0.5 scn 1 g /A 1 Tf", "A 1; 1 g"},
      {"/Pattern cs /P1 scn /A 1 Tf", "A 1"},
      {"/Pattern cs 1 0 0 /P1 scn /A 1 Tf", "A 1"},
      // Text state.
      {"2 Tc 3 Tw 50 Tz /A 1 Tf", "A 1; 2 3 50"},
      {"-2 Tc 1e9 Tw -50 Tz 0 Tz 99999999 Tc /A 1 Tf", "A 1; -2 0 100"},
  };
  for (const auto& each : cases) EXPECT_EQ(Described(each.text), each.expected) << each.text;
}

// Every field may have its own "/DA", so only the beginning of a long one is read.
TEST(DefaultAppearance, IsReadUpToABound) {
  for (const char* const repeated : {"1 g ", "/B 2 Tf ", "(", "1 ", "% ", "/"}) {
    std::string text = "/A 1 Tf ";
    while (text.size() < 100000) text += repeated;
    EXPECT_NE(ParseDefaultAppearance(text + ") /C 3 Tf").font, "C") << repeated;
  }
}

}  // namespace
}  // namespace zforms
