#include "zforms/appearance/fonts/standard_fonts.h"

#include <algorithm>
#include <array>
#include <initializer_list>

namespace zforms {
namespace {

// Entries "GLYPH WIDTH..." with the widths in the six fonts for Latin text that are not monospaced, in the order
// Helvetica, Helvetica-Bold, Times-Roman, Times-Bold, Times-Italic, Times-BoldItalic. The oblique Helveticas have the
// widths of the upright ones; the Couriers have the same glyphs, each 600 wide.
constexpr std::string_view kLatinText =
    "A 667 722 722 722 611 667 AE 1000 1000 889 1000 889 944 Aacute 667 722 722 722 611 667 "
    "Abreve 667 722 722 722 611 667 Acircumflex 667 722 722 722 611 667 Adieresis 667 722 722 722 611 667 "
    "Agrave 667 722 722 722 611 667 Amacron 667 722 722 722 611 667 Aogonek 667 722 722 722 611 667 "
    "Aring 667 722 722 722 611 667 Atilde 667 722 722 722 611 667 B 667 722 667 667 611 667 "
    "C 722 722 667 722 667 667 Cacute 722 722 667 722 667 667 Ccaron 722 722 667 722 667 667 "
    "Ccedilla 722 722 667 722 667 667 D 722 722 722 722 722 722 Dcaron 722 722 722 722 722 722 "
    "Dcroat 722 722 722 722 722 722 Delta 612 612 612 612 612 612 E 667 667 611 667 611 667 "
    "Eacute 667 667 611 667 611 667 Ecaron 667 667 611 667 611 667 Ecircumflex 667 667 611 667 611 667 "
    "Edieresis 667 667 611 667 611 667 Edotaccent 667 667 611 667 611 667 Egrave 667 667 611 667 611 667 "
    "Emacron 667 667 611 667 611 667 Eogonek 667 667 611 667 611 667 Eth 722 722 722 722 722 722 "
    "Euro 556 556 500 500 500 500 F 611 611 556 611 611 667 G 778 778 722 778 722 722 "
    "Gbreve 778 778 722 778 722 722 Gcommaaccent 778 778 722 778 722 722 H 722 722 722 778 722 778 "
    "I 278 278 333 389 333 389 Iacute 278 278 333 389 333 389 Icircumflex 278 278 333 389 333 389 "
    "Idieresis 278 278 333 389 333 389 Idotaccent 278 278 333 389 333 389 Igrave 278 278 333 389 333 389 "
    "Imacron 278 278 333 389 333 389 Iogonek 278 278 333 389 333 389 J 500 556 389 500 444 500 "
    "K 667 722 722 778 667 667 Kcommaaccent 667 722 722 778 667 667 L 556 611 611 667 556 611 "
    "Lacute 556 611 611 667 556 611 Lcaron 556 611 611 667 611 611 Lcommaaccent 556 611 611 667 556 611 "
    "Lslash 556 611 611 667 556 611 M 833 833 889 944 833 889 N 722 722 722 722 667 722 "
    "Nacute 722 722 722 722 667 722 Ncaron 722 722 722 722 667 722 Ncommaaccent 722 722 722 722 667 722 "
    "Ntilde 722 722 722 722 667 722 O 778 778 722 778 722 722 OE 1000 1000 889 1000 944 944 "
    "Oacute 778 778 722 778 722 722 Ocircumflex 778 778 722 778 722 722 Odieresis 778 778 722 778 722 722 "
    "Ograve 778 778 722 778 722 722 Ohungarumlaut 778 778 722 778 722 722 Omacron 778 778 722 778 722 722 "
    "Oslash 778 778 722 778 722 722 Otilde 778 778 722 778 722 722 P 667 667 556 611 611 611 "
    "Q 778 778 722 778 722 722 R 722 722 667 722 611 667 Racute 722 722 667 722 611 667 "
    "Rcaron 722 722 667 722 611 667 Rcommaaccent 722 722 667 722 611 667 S 667 667 556 556 500 556 "
    "Sacute 667 667 556 556 500 556 Scaron 667 667 556 556 500 556 Scedilla 667 667 556 556 500 556 "
    "Scommaaccent 667 667 556 556 500 556 T 611 611 611 667 556 611 Tcaron 611 611 611 667 556 611 "
    "Tcommaaccent 611 611 611 667 556 611 Thorn 667 667 556 611 611 611 U 722 722 722 722 722 722 "
    "Uacute 722 722 722 722 722 722 Ucircumflex 722 722 722 722 722 722 Udieresis 722 722 722 722 722 722 "
    "Ugrave 722 722 722 722 722 722 Uhungarumlaut 722 722 722 722 722 722 Umacron 722 722 722 722 722 722 "
    "Uogonek 722 722 722 722 722 722 Uring 722 722 722 722 722 722 V 667 667 722 722 611 667 "
    "W 944 944 944 1000 833 889 X 667 667 722 722 611 667 Y 667 667 722 722 556 611 Yacute 667 667 722 722 556 611 "
    "Ydieresis 667 667 722 722 556 611 Z 611 611 611 667 556 611 Zacute 611 611 611 667 556 611 "
    "Zcaron 611 611 611 667 556 611 Zdotaccent 611 611 611 667 556 611 a 556 556 444 500 500 500 "
    "aacute 556 556 444 500 500 500 abreve 556 556 444 500 500 500 acircumflex 556 556 444 500 500 500 "
    "acute 333 333 333 333 333 333 adieresis 556 556 444 500 500 500 ae 889 889 667 722 667 722 "
    "agrave 556 556 444 500 500 500 amacron 556 556 444 500 500 500 ampersand 667 722 778 833 778 778 "
    "aogonek 556 556 444 500 500 500 aring 556 556 444 500 500 500 asciicircum 469 584 469 581 422 570 "
    "asciitilde 584 584 541 520 541 570 asterisk 389 389 500 500 500 500 at 1015 975 921 930 920 832 "
    "atilde 556 556 444 500 500 500 b 556 611 500 556 500 500 backslash 278 278 278 278 278 278 "
    "bar 260 280 200 220 275 220 braceleft 334 389 480 394 400 348 braceright 334 389 480 394 400 348 "
    "bracketleft 278 333 333 333 389 333 bracketright 278 333 333 333 389 333 breve 333 333 333 333 333 333 "
    "brokenbar 260 280 200 220 275 220 bullet 350 350 350 350 350 350 c 500 556 444 444 444 444 "
    "cacute 500 556 444 444 444 444 caron 333 333 333 333 333 333 ccaron 500 556 444 444 444 444 "
    "ccedilla 500 556 444 444 444 444 cedilla 333 333 333 333 333 333 cent 556 556 500 500 500 500 "
    "circumflex 333 333 333 333 333 333 colon 278 333 278 333 333 333 comma 278 278 250 250 250 250 "
    "commaaccent 250 250 250 250 250 250 copyright 737 737 760 747 760 747 currency 556 556 500 500 500 500 "
    "d 556 611 500 556 500 500 dagger 556 556 500 500 500 500 daggerdbl 556 556 500 500 500 500 "
    "dcaron 643 743 588 672 544 608 dcroat 556 611 500 556 500 500 degree 400 400 400 400 400 400 "
    "dieresis 333 333 333 333 333 333 divide 584 584 564 570 675 570 dollar 556 556 500 500 500 500 "
    "dotaccent 333 333 333 333 333 333 dotlessi 278 278 278 278 278 278 e 556 556 444 444 444 444 "
    "eacute 556 556 444 444 444 444 ecaron 556 556 444 444 444 444 ecircumflex 556 556 444 444 444 444 "
    "edieresis 556 556 444 444 444 444 edotaccent 556 556 444 444 444 444 egrave 556 556 444 444 444 444 "
    "eight 556 556 500 500 500 500 ellipsis 1000 1000 1000 1000 889 1000 emacron 556 556 444 444 444 444 "
    "emdash 1000 1000 1000 1000 889 1000 endash 556 556 500 500 500 500 eogonek 556 556 444 444 444 444 "
    "equal 584 584 564 570 675 570 eth 556 611 500 500 500 500 exclam 278 333 333 333 333 389 "
    "exclamdown 333 333 333 333 389 389 f 278 333 333 333 278 333 fi 500 611 556 556 500 556 "
    "five 556 556 500 500 500 500 fl 500 611 556 556 500 556 florin 556 556 500 500 500 500 "
    "four 556 556 500 500 500 500 fraction 167 167 167 167 167 167 g 556 611 500 500 500 500 "
    "gbreve 556 611 500 500 500 500 gcommaaccent 556 611 500 500 500 500 germandbls 611 611 500 556 500 500 "
    "grave 333 333 333 333 333 333 greater 584 584 564 570 675 570 greaterequal 549 549 549 549 549 549 "
    "guillemotleft 556 556 500 500 500 500 guillemotright 556 556 500 500 500 500 "
    "guilsinglleft 333 333 333 333 333 333 guilsinglright 333 333 333 333 333 333 h 556 611 500 556 500 556 "
    "hungarumlaut 333 333 333 333 333 333 hyphen 333 333 333 333 333 333 i 222 278 278 278 278 278 "
    "iacute 278 278 278 278 278 278 icircumflex 278 278 278 278 278 278 idieresis 278 278 278 278 278 278 "
    "igrave 278 278 278 278 278 278 imacron 278 278 278 278 278 278 iogonek 222 278 278 278 278 278 "
    "j 222 278 278 333 278 278 k 500 556 500 556 444 500 kcommaaccent 500 556 500 556 444 500 "
    "l 222 278 278 278 278 278 lacute 222 278 278 278 278 278 lcaron 299 400 344 394 300 382 "
    "lcommaaccent 222 278 278 278 278 278 less 584 584 564 570 675 570 lessequal 549 549 549 549 549 549 "
    "logicalnot 584 584 564 570 675 606 lozenge 471 494 471 494 471 494 lslash 222 278 278 278 278 278 "
    "m 833 889 778 833 722 778 macron 333 333 333 333 333 333 minus 584 584 564 570 675 606 "
    "mu 556 611 500 556 500 576 multiply 584 584 564 570 675 570 n 556 611 500 556 500 556 "
    "nacute 556 611 500 556 500 556 ncaron 556 611 500 556 500 556 ncommaaccent 556 611 500 556 500 556 "
    "nine 556 556 500 500 500 500 notequal 549 549 549 549 549 549 ntilde 556 611 500 556 500 556 "
    "numbersign 556 556 500 500 500 500 o 556 611 500 500 500 500 oacute 556 611 500 500 500 500 "
    "ocircumflex 556 611 500 500 500 500 odieresis 556 611 500 500 500 500 oe 944 944 722 722 667 722 "
    "ogonek 333 333 333 333 333 333 ograve 556 611 500 500 500 500 ohungarumlaut 556 611 500 500 500 500 "
    "omacron 556 611 500 500 500 500 one 556 556 500 500 500 500 onehalf 834 834 750 750 750 750 "
    "onequarter 834 834 750 750 750 750 onesuperior 333 333 300 300 300 300 ordfeminine 370 370 276 300 276 266 "
    "ordmasculine 365 365 310 330 310 300 oslash 611 611 500 500 500 500 otilde 556 611 500 500 500 500 "
    "p 556 611 500 556 500 500 paragraph 537 556 453 540 523 500 parenleft 333 333 333 333 333 333 "
    "parenright 333 333 333 333 333 333 partialdiff 476 494 476 494 476 494 percent 889 889 833 1000 833 833 "
    "period 278 278 250 250 250 250 periodcentered 278 278 250 250 250 250 "
    "perthousand 1000 1000 1000 1000 1000 1000 plus 584 584 564 570 675 570 plusminus 584 584 564 570 675 570 "
    "q 556 611 500 556 500 500 question 556 611 444 500 500 500 questiondown 611 611 444 500 500 500 "
    "quotedbl 355 474 408 555 420 555 quotedblbase 333 500 444 500 556 500 quotedblleft 333 500 444 500 556 500 "
    "quotedblright 333 500 444 500 556 500 quoteleft 222 278 333 333 333 333 quoteright 222 278 333 333 333 333 "
    "quotesinglbase 222 278 333 333 333 333 quotesingle 191 238 180 278 214 278 r 333 389 333 444 389 389 "
    "racute 333 389 333 444 389 389 radical 453 549 453 549 453 549 rcaron 333 389 333 444 389 389 "
    "rcommaaccent 333 389 333 444 389 389 registered 737 737 760 747 760 747 ring 333 333 333 333 333 333 "
    "s 500 556 389 389 389 389 sacute 500 556 389 389 389 389 scaron 500 556 389 389 389 389 "
    "scedilla 500 556 389 389 389 389 scommaaccent 500 556 389 389 389 389 section 556 556 500 500 500 500 "
    "semicolon 278 333 278 333 333 333 seven 556 556 500 500 500 500 six 556 556 500 500 500 500 "
    "slash 278 278 278 278 278 278 space 278 278 250 250 250 250 sterling 556 556 500 500 500 500 "
    "summation 600 600 600 600 600 600 t 278 333 278 333 278 278 tcaron 317 389 326 416 300 366 "
    "tcommaaccent 278 333 278 333 278 278 thorn 556 611 500 556 500 500 three 556 556 500 500 500 500 "
    "threequarters 834 834 750 750 750 750 threesuperior 333 333 300 300 300 300 tilde 333 333 333 333 333 333 "
    "trademark 1000 1000 980 1000 980 1000 two 556 556 500 500 500 500 twosuperior 333 333 300 300 300 300 "
    "u 556 611 500 556 500 556 uacute 556 611 500 556 500 556 ucircumflex 556 611 500 556 500 556 "
    "udieresis 556 611 500 556 500 556 ugrave 556 611 500 556 500 556 uhungarumlaut 556 611 500 556 500 556 "
    "umacron 556 611 500 556 500 556 underscore 556 556 500 500 500 500 uogonek 556 611 500 556 500 556 "
    "uring 556 611 500 556 500 556 v 500 556 500 500 444 444 w 722 778 722 722 667 667 x 500 556 500 500 444 500 "
    "y 500 556 500 500 444 444 yacute 500 556 500 500 444 444 ydieresis 500 556 500 500 444 444 "
    "yen 556 556 500 500 500 500 z 500 500 444 444 389 389 zacute 500 500 444 444 389 389 "
    "zcaron 500 500 444 444 389 389 zdotaccent 500 500 444 444 389 389 zero 556 556 500 500 500 500 ";
constexpr std::string_view kSymbolText =
    "Alpha 722 Beta 667 Chi 722 Delta 612 Epsilon 611 Eta 722 Euro 750 Gamma 603 Ifraktur 686 Iota 333 Kappa 722 "
    "Lambda 686 Mu 889 Nu 722 Omega 768 Omicron 722 Phi 763 Pi 768 Psi 795 Rfraktur 795 Rho 556 Sigma 592 Tau 611 "
    "Theta 741 Upsilon 690 Upsilon1 620 Xi 645 Zeta 611 aleph 823 alpha 631 ampersand 778 angle 768 angleleft 329 "
    "angleright 329 apple 790 approxequal 549 arrowboth 1042 arrowdblboth 1042 arrowdbldown 603 arrowdblleft 987 "
    "arrowdblright 987 arrowdblup 603 arrowdown 603 arrowhorizex 1000 arrowleft 987 arrowright 987 arrowup 603 "
    "arrowvertex 603 asteriskmath 500 bar 200 beta 549 braceex 494 braceleft 480 braceleftbt 494 braceleftmid 494 "
    "bracelefttp 494 braceright 480 bracerightbt 494 bracerightmid 494 bracerighttp 494 bracketleft 333 "
    "bracketleftbt 384 bracketleftex 384 bracketlefttp 384 bracketright 333 bracketrightbt 384 bracketrightex 384 "
    "bracketrighttp 384 bullet 460 carriagereturn 658 chi 549 circlemultiply 768 circleplus 768 club 753 colon 278 "
    "comma 250 congruent 549 copyrightsans 790 copyrightserif 790 degree 400 delta 494 diamond 753 divide 549 "
    "dotmath 250 eight 500 element 713 ellipsis 1000 emptyset 823 epsilon 439 equal 549 equivalence 549 eta 603 "
    "exclam 333 existential 549 five 500 florin 500 four 500 fraction 167 gamma 411 gradient 713 greater 549 "
    "greaterequal 549 heart 753 infinity 713 integral 274 integralbt 686 integralex 686 integraltp 686 "
    "intersection 768 iota 329 kappa 549 lambda 549 less 549 lessequal 549 logicaland 603 logicalnot 713 "
    "logicalor 603 lozenge 494 minus 549 minute 247 mu 576 multiply 549 nine 500 notelement 713 notequal 549 "
    "notsubset 713 nu 521 numbersign 500 omega 686 omega1 713 omicron 549 one 500 parenleft 333 parenleftbt 384 "
    "parenleftex 384 parenlefttp 384 parenright 333 parenrightbt 384 parenrightex 384 parenrighttp 384 "
    "partialdiff 494 percent 833 period 250 perpendicular 658 phi 521 phi1 603 pi 549 plus 549 plusminus 549 "
    "product 823 propersubset 713 propersuperset 713 proportional 713 psi 686 question 444 radical 549 "
    "radicalex 500 reflexsubset 713 reflexsuperset 713 registersans 790 registerserif 790 rho 549 second 411 "
    "semicolon 278 seven 500 sigma 603 sigma1 439 similar 549 six 500 slash 278 space 250 spade 753 suchthat 439 "
    "summation 713 tau 439 therefore 863 theta 521 theta1 631 three 500 trademarksans 786 trademarkserif 890 "
    "two 500 underscore 500 union 768 universal 713 upsilon 576 weierstrass 987 xi 493 zero 500 zeta 494 ";
constexpr std::string_view kDingbatsText =
    "a1 974 a10 692 a100 668 a101 732 a102 544 a103 544 a104 910 a105 911 a106 667 a107 760 a108 760 a109 626 "
    "a11 960 a110 694 a111 595 a112 776 a117 690 a118 791 a119 790 a12 939 a120 788 a121 788 a122 788 a123 788 "
    "a124 788 a125 788 a126 788 a127 788 a128 788 a129 788 a13 549 a130 788 a131 788 a132 788 a133 788 a134 788 "
    "a135 788 a136 788 a137 788 a138 788 a139 788 a14 855 a140 788 a141 788 a142 788 a143 788 a144 788 a145 788 "
    "a146 788 a147 788 a148 788 a149 788 a15 911 a150 788 a151 788 a152 788 a153 788 a154 788 a155 788 a156 788 "
    "a157 788 a158 788 a159 788 a16 933 a160 894 a161 838 a162 924 a163 1016 a164 458 a165 924 a166 918 a167 927 "
    "a168 928 a169 928 a17 945 a170 834 a171 873 a172 828 a173 924 a174 917 a175 930 a176 931 a177 463 a178 883 "
    "a179 836 a18 974 a180 867 a181 696 a182 874 a183 760 a184 946 a185 865 a186 967 a187 831 a188 873 a189 927 "
    "a19 755 a190 970 a191 918 a192 748 a193 836 a194 771 a195 888 a196 748 a197 771 a198 888 a199 867 a2 961 "
    "a20 846 a200 696 a201 874 a202 974 a203 762 a204 759 a205 509 a206 410 a21 762 a22 761 a23 571 a24 677 a25 763 "
    "a26 760 a27 759 a28 754 a29 786 a3 980 a30 788 a31 788 a32 790 a33 793 a34 794 a35 816 a36 823 a37 789 a38 841 "
    "a39 823 a4 719 a40 833 a41 816 a42 831 a43 923 a44 744 a45 723 a46 749 a47 790 a48 792 a49 695 a5 789 a50 776 "
    "a51 768 a52 792 a53 759 a54 707 a55 708 a56 682 a57 701 a58 826 a59 815 a6 494 a60 789 a61 789 a62 707 a63 687 "
    "a64 696 a65 689 a66 786 a67 787 a68 713 a69 791 a7 552 a70 785 a71 791 a72 873 a73 761 a74 762 a75 759 a76 892 "
    "a77 892 a78 788 a79 784 a8 537 a81 438 a82 138 a83 277 a84 415 a85 509 a86 410 a87 234 a88 234 a89 390 a9 577 "
    "a90 390 a91 276 a92 276 a93 317 a94 317 a95 334 a96 334 a97 392 a98 392 a99 668 space 278 ";

constexpr uint16_t kCourierWidth = 600;

template <size_t Columns>
struct GlyphWidths {
  std::string_view glyph;
  std::array<uint16_t, Columns> widths;
};

constexpr std::string_view TakeWord(std::string_view* text) {
  const size_t end = text->find(' ');
  const std::string_view word = text->substr(0, end);
  text->remove_prefix(end + 1);
  return word;
}

template <size_t Columns, size_t Rows>
constexpr std::array<GlyphWidths<Columns>, Rows> Listed(std::string_view text) {
  std::array<GlyphWidths<Columns>, Rows> rows{};
  for (auto& row : rows) {
    row.glyph = TakeWord(&text);
    for (uint16_t& width : row.widths) {
      for (const char digit : TakeWord(&text)) width = static_cast<uint16_t>(width * 10 + (digit - '0'));
    }
  }
  return rows;
}

constexpr auto kLatin = Listed<6, 315>(kLatinText);
constexpr auto kSymbols = Listed<1, 190>(kSymbolText);
constexpr auto kDingbats = Listed<1, 202>(kDingbatsText);

// A hash table of the rows by their glyphs. A slot has 1 + the index of a row, or 0 when it is free. A row is in the
// slot of its glyph's hash, or, when that was taken, in the next free slot.
using RowIndex = std::array<uint16_t, 1024>;

constexpr size_t SlotOf(std::string_view glyph) {
  uint32_t hash = 2166136261;  // FNV-1a
  for (const char c : glyph) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619;
  return (hash ^ hash >> 15) % RowIndex().size();
}

template <class Rows>
constexpr RowIndex Indexed(const Rows& rows) {
  RowIndex index{};
  for (size_t row = 0; row < rows.size(); row++) {
    size_t slot = SlotOf(rows[row].glyph);
    while (index[slot] != 0) slot = (slot + 1) % index.size();
    index[slot] = static_cast<uint16_t>(row + 1);
  }
  return index;
}

constexpr RowIndex kLatinIndex = Indexed(kLatin);
constexpr RowIndex kSymbolIndex = Indexed(kSymbols);
constexpr RowIndex kDingbatIndex = Indexed(kDingbats);

template <class Rows>
std::optional<uint16_t> WidthIn(const Rows& rows, const RowIndex& index, std::string_view glyph, size_t column) {
  for (size_t slot = SlotOf(glyph); index[slot] != 0; slot = (slot + 1) % index.size()) {
    const auto& row = rows[index[slot] - 1];
    if (row.glyph == glyph) return row.widths[column];
  }
  return std::nullopt;
}

// For each of the three text families the upright, bold, italic and bold italic font; then the two symbol fonts.
constexpr std::array<StandardFont, 14> kFonts = {{
    {"Helvetica", FontFamily::kHelvetica, false, false, {718, -207, 718}},
    {"Helvetica-Bold", FontFamily::kHelvetica, true, false, {718, -207, 718}},
    {"Helvetica-Oblique", FontFamily::kHelvetica, false, true, {718, -207, 718}},
    {"Helvetica-BoldOblique", FontFamily::kHelvetica, true, true, {718, -207, 718}},
    {"Times-Roman", FontFamily::kTimes, false, false, {683, -217, 662}},
    {"Times-Bold", FontFamily::kTimes, true, false, {683, -217, 676}},
    {"Times-Italic", FontFamily::kTimes, false, true, {683, -217, 653}},
    {"Times-BoldItalic", FontFamily::kTimes, true, true, {683, -217, 669}},
    {"Courier", FontFamily::kCourier, false, false, {629, -157, 562}},
    {"Courier-Bold", FontFamily::kCourier, true, false, {629, -157, 562}},
    {"Courier-Oblique", FontFamily::kCourier, false, true, {629, -157, 562}},
    {"Courier-BoldOblique", FontFamily::kCourier, true, true, {629, -157, 562}},
    {"Symbol", FontFamily::kSymbol, false, false, {1010, -293, 673}},
    {"ZapfDingbats", FontFamily::kZapfDingbats, false, false, {820, -143, 706}},
}};

const StandardFont& FontOf(FontFamily family, bool bold, bool italic) {
  if (family == FontFamily::kSymbol) return kFonts[12];
  if (family == FontFamily::kZapfDingbats) return kFonts[13];
  return kFonts[static_cast<size_t>(family) * 4 + (italic ? 2 : 0) + (bold ? 1 : 0)];
}

struct NamedFamily {
  std::string_view name;
  FontFamily family;
};
// Longer names come before the names that they begin with.
constexpr std::array<NamedFamily, 10> kFamilies = {{{"Helvetica", FontFamily::kHelvetica},
                                                    {"Arial", FontFamily::kHelvetica},
                                                    {"TimesNewRoman", FontFamily::kTimes},
                                                    {"Times New Roman", FontFamily::kTimes},
                                                    {"Times", FontFamily::kTimes},
                                                    {"CourierNew", FontFamily::kCourier},
                                                    {"Courier New", FontFamily::kCourier},
                                                    {"Courier", FontFamily::kCourier},
                                                    {"Symbol", FontFamily::kSymbol},
                                                    {"ZapfDingbats", FontFamily::kZapfDingbats}}};

struct Alias {
  std::string_view resource;
  uint8_t font;
};
constexpr std::array<Alias, 14> kAliases = {{{"Helv", 0},
                                             {"HeBo", 1},
                                             {"HeOb", 2},
                                             {"HeBO", 3},
                                             {"TiRo", 4},
                                             {"TiBo", 5},
                                             {"TiIt", 6},
                                             {"TiBI", 7},
                                             {"Cour", 8},
                                             {"CoBo", 9},
                                             {"CoOb", 10},
                                             {"CoBO", 11},
                                             {"Symb", 12},
                                             {"ZaDb", 13}}};

// Removes the first of the words that the text begins with; false when there is none.
bool Drop(std::string_view* text, std::initializer_list<std::string_view> words) {
  for (const std::string_view word : words) {
    if (!text->starts_with(word)) continue;
    text->remove_prefix(word.size());
    return true;
  }
  return false;
}

// The font by the text after its family's name; null when that text names more than weight and slope.
const StandardFont* StyledFont(FontFamily family, std::string_view style) {
  bool bold = false, italic = false;
  while (!style.empty()) {
    if (Drop(&style, {"Bold"})) {
      bold = true;
    } else if (Drop(&style, {"Italic", "Oblique"})) {
      italic = true;
    } else if (!Drop(&style, {"-", ",", " ", "PS", "MT", "Regular", "Roman", "Normal"})) {
      return nullptr;
    }
  }
  return &FontOf(family, bold, italic);
}

// Removes the tag of a subset (ISO 32000-1 9.6.4).
std::string_view WithoutTag(std::string_view name) {
  const auto is_capital = [](char c) { return c >= 'A' && c <= 'Z'; };
  const bool tagged = name.size() > 7 && name[6] == '+' && std::all_of(name.begin(), name.begin() + 6, is_capital);
  return tagged ? name.substr(7) : name;
}

bool HasOneOf(std::string_view text, std::initializer_list<std::string_view> words) {
  return std::any_of(words.begin(), words.end(),
                     [text](std::string_view word) { return text.find(word) != std::string_view::npos; });
}

}  // namespace

const FontEncoding& StandardFont::Encoding() const {
  if (family == FontFamily::kSymbol) return SymbolEncoding();
  return family == FontFamily::kZapfDingbats ? ZapfDingbatsEncoding() : StandardEncoding();
}

std::optional<uint16_t> StandardFont::Width(std::string_view glyph) const {
  switch (family) {
    case FontFamily::kSymbol: return WidthIn(kSymbols, kSymbolIndex, glyph, 0);
    case FontFamily::kZapfDingbats: return WidthIn(kDingbats, kDingbatIndex, glyph, 0);
    case FontFamily::kHelvetica: return WidthIn(kLatin, kLatinIndex, glyph, bold ? 1 : 0);
    case FontFamily::kTimes: return WidthIn(kLatin, kLatinIndex, glyph, 2 + (bold ? 1U : 0U) + (italic ? 2U : 0U));
    case FontFamily::kCourier: break;
  }
  if (!WidthIn(kLatin, kLatinIndex, glyph, 0)) return std::nullopt;
  return kCourierWidth;
}

const StandardFont* StandardFontNamed(std::string_view base_font) {
  const std::string_view name = WithoutTag(base_font);
  for (const NamedFamily& each : kFamilies) {
    if (name.starts_with(each.name)) return StyledFont(each.family, name.substr(each.name.size()));
  }
  return nullptr;
}

const StandardFont* StandardFontOfResource(std::string_view resource) {
  for (const Alias& alias : kAliases) {
    if (resource == alias.resource) return &kFonts[alias.font];
  }
  return StandardFontNamed(resource);
}

const StandardFont& StandardFontLike(std::string_view base_font, uint32_t flags) {
  constexpr uint32_t kFixedPitch = 1, kSerif = 2, kItalic = 1 << 6, kForceBold = 1 << 18;
  if (const StandardFont* font = StandardFontNamed(base_font)) return *font;
  const std::string_view name = WithoutTag(base_font);
  const bool bold = (flags & kForceBold) != 0 || HasOneOf(name, {"Bold", "Black", "Heavy", "Demi"});
  const bool italic = (flags & kItalic) != 0 || HasOneOf(name, {"Italic", "Oblique"});
  FontFamily family = FontFamily::kHelvetica;
  if ((flags & kFixedPitch) != 0 || HasOneOf(name, {"Courier", "Mono", "Consolas"})) {
    family = FontFamily::kCourier;
  } else if ((flags & kSerif) != 0 || HasOneOf(name, {"Times", "Georgia", "Garamond", "Minion", "Palatino", "Serif"})) {
    family = HasOneOf(name, {"Sans"}) ? FontFamily::kHelvetica : FontFamily::kTimes;
  }
  return FontOf(family, bold, italic);
}

}  // namespace zforms
