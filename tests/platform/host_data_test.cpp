// The host's data: variants attached to buffers, field sets, INI files.

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>
#include <string>

#include "tests/support/temp_path.h"
#include "zforms/platform/base/ascii.h"
#include "zforms/platform/data/field_set.h"
#include "zforms/platform/data/folder_key.h"
#include "zforms/platform/data/ini_file.h"
#include "zforms/platform/data/variant.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/platform/text/byte_order_mark.h"
#include "zforms/platform/text/characters.h"
#include "zforms/platform/text/clusters.h"
#include "zforms/platform/text/letter_case.h"

namespace zforms {
namespace {

using namespace std::string_literals;

// The contents of a buffer of that type after writing a value, and whether the value fitted.
template <class Number>
std::string Stored(const ZVariant& value, Number before = Number()) {
  // The buffer is unaligned and has neighbours that must not change.
  std::array<char, sizeof(Number) + 2> memory{'#', '#'};
  memory.back() = '#';
  std::memcpy(&memory[1], &before, sizeof(before));
  const ZVariantBuffer place = ZVariantBuffer::Over(&before);
  const ZVariantBuffer buffer(place.Kind(), &memory[1], sizeof(Number));
  const bool fits = buffer.Write(value);
  EXPECT_EQ(memory.front(), '#');
  EXPECT_EQ(memory.back(), '#');
  return buffer.Read().AsChaine().ToString() + (fits ? "" : " (does not fit)");
}

TEST(VariantBuffer, NumbersFitOrChangeNothing) {
  EXPECT_EQ(Stored<int8_t>("127"), "127");
  EXPECT_EQ(Stored<int8_t>("128", 5), "5 (does not fit)");
  EXPECT_EQ(Stored<int8_t>("-128"), "-128");
  EXPECT_EQ(Stored<int8_t>(-129, 5), "5 (does not fit)");
  EXPECT_EQ(Stored<uint8_t>("-1", 5), "5 (does not fit)");
  EXPECT_EQ(Stored<uint8_t>("-0"), "0");
  EXPECT_EQ(Stored<int16_t>(" +12\r\n"), "12");
  EXPECT_EQ(Stored<uint32_t>(4294967295u), "4294967295");
  EXPECT_EQ(Stored<int32_t>(4294967295u, 5), "5 (does not fit)");
  EXPECT_EQ(Stored<int64_t>("-9223372036854775808"), "-9223372036854775808");
  EXPECT_EQ(Stored<int64_t>("9223372036854775808", 5), "5 (does not fit)");
  EXPECT_EQ(Stored<uint64_t>("18446744073709551615"), "18446744073709551615");
  EXPECT_EQ(Stored<uint64_t>("18446744073709551616", 5), "5 (does not fit)");
  EXPECT_EQ(Stored<int32_t>(-3.0), "-3");
  EXPECT_EQ(Stored<int32_t>(0.5, 5), "5 (does not fit)");
  EXPECT_EQ(Stored<int64_t>(1e300, 5), "5 (does not fit)");
  EXPECT_EQ(Stored<int64_t>(std::numeric_limits<double>::quiet_NaN(), 5), "5 (does not fit)");
  for (const char* text : {"x", "1x", "1,5", "--1", "+-1", "1 2", "0x10"}) {
    EXPECT_EQ(Stored<int32_t>(text, 5), "5 (does not fit)") << text;
    EXPECT_EQ(Stored<double>(text, 0.5), "0.5 (does not fit)") << text;
  }
  for (const ZVariant& nothing : {ZVariant(), ZVariant(""), ZVariant(" \t")}) {
    EXPECT_EQ(Stored<int32_t>(nothing, 5), "0");
    EXPECT_EQ(Stored<double>(nothing, 5), "0");
    EXPECT_EQ(Stored<bool>(nothing, true), "false");
  }
  EXPECT_EQ(Stored<double>("-.25"), "-0.25");
  EXPECT_EQ(Stored<float>("0.1"), "0.1");
  EXPECT_EQ(Stored<float>(1e39, 1), "1 (does not fit)");
  for (const char* text : {"inf", "nan", "1e999"}) EXPECT_EQ(Stored<double>(text, 1), "1 (does not fit)") << text;
  for (const char* text : {"Off", "NO", "0", " false "}) EXPECT_EQ(Stored<bool>(text, true), "false") << text;
  for (const char* text : {"Yes", "1", "Oui", "Choice1"}) EXPECT_EQ(Stored<bool>(text), "true") << text;
}

TEST(VariantBuffer, TextIsCutToItsBufferAfterAWholeCharacter) {
  const struct {
    std::string text;
    size_t size;
    std::string kept;
    bool fits;
  } kCases[] = {
      {"abc", 4, "abc", true},  {"abcd", 4, "abc", false},
      {"", 1, "", true},        {"x", 1, "", false},
      {"aé", 4, "aé", true},    {"aéé", 5, "aé", false},
      {"a€", 4, "a", false},    {"\U0001F600", 4, "", false},
      {"a\0b"s, 9, "a", false}, {"\x80\x80\x80\x80\x80", 4, "\x80\x80\x80", false},
  };
  for (const auto& c : kCases) {
    std::string memory(c.size + 1, '#');
    const ZVariantBuffer buffer = ZVariantBuffer::Chars(memory.data(), c.size);
    EXPECT_EQ(buffer.Write(c.text), c.fits) << c.text;
    EXPECT_EQ(buffer.Read().AsChaine(), c.kept);
    EXPECT_EQ(memory.back(), '#');
    EXPECT_LT(memory.find('\0'), c.size);
  }
  // The text in the buffer of a host may have no zero byte.
  char full[] = {'a', 'b', 'c'};
  EXPECT_EQ(ZVariantBuffer::Chars(full, 2).Read().AsChaine(), "ab");
  EXPECT_TRUE(ZVariantBuffer(ZVariantBuffer::Type::eInt, full, 3).IsNone());
  EXPECT_TRUE(ZVariantBuffer::Chars(nullptr, 3).IsNone());
}

TEST(Variant, AnAttachmentStaysWhereItWasMade) {
  char text[8] = "old";
  int32_t number = 7;
  ZVariant a("mine");
  a.Attach(ZVariantBuffer::Chars(text, sizeof(text)));
  EXPECT_EQ(a.AsChaine(), "old");
  EXPECT_EQ(a.Kind(), ZVariant::Type::eChaine);
  EXPECT_FALSE(a.Assign("much too long"));
  EXPECT_STREQ(text, "much to");
  ZVariant copy(a);
  ZVariant moved(std::move(a));
  copy = moved = "free";
  EXPECT_STREQ(text, "much to");
  a = copy;
  EXPECT_STREQ(text, "free");
  ZVariant b;
  b.Attach(ZVariantBuffer::Over(&number));
  EXPECT_EQ(b, ZVariant(int64_t{7}));
  b = *&b;
  a = b;
  EXPECT_STREQ(text, "7");
  number = 12;
  b = a;
  EXPECT_EQ(number, 7);
  text[0] = '\0';
  EXPECT_TRUE(a.IsEmpty());
  EXPECT_FALSE(b.IsEmpty());
  b.Detach();
  b = "word";
  EXPECT_EQ(number, 7);
  EXPECT_EQ(b.AsChaine(), "word");
}

TEST(FieldSet, NamesAreFoundExactlyAndThenInAnyCase) {
  char town[16] = "Liège";
  ZFieldSet fields;
  fields.Add("Name", "n");
  fields.Add("name", "m");
  fields.Bind("ÉTÉ", ZVariantBuffer::Chars(town, sizeof(town)));
  fields.Add("count", 3);
  fields.Add("count", "4");
  const struct {
    const char* name;
    const char* value;  // null: does not exist
  } kCases[] = {{"Name", "n"},  {"name", "m"}, {"NAME", "n"}, {"été", "Liège"},
                {"Count", "4"}, {"", nullptr}, {"x", nullptr}};
  for (const auto& c : kCases) {
    ASSERT_EQ(fields.Exist(c.name), c.value != nullptr) << c.name;
    EXPECT_EQ(fields[c.name].Value().AsChaine(), c.value == nullptr ? "" : c.value) << c.name;
  }
  EXPECT_EQ(fields.Size(), 4u);
  EXPECT_EQ(fields["count"].Type(), ZVariantBuffer::Type::eInt);
  EXPECT_FALSE(fields["count"].Set("many"));
  EXPECT_TRUE(fields["été"].Set("Namur"));
  EXPECT_STREQ(town, "Namur");
  EXPECT_FALSE(fields["none"].Set("x"));
  // Fields keep their addresses when others are added, and when the set is moved.
  const ZField* name = fields.Find("Name");
  for (int i = 0; i < 1000; i++) fields.Add("f" + std::to_string(i), i);
  const ZFieldSet moved = std::move(fields);
  EXPECT_EQ(&moved["Name"], name);
  EXPECT_EQ(moved["F999"].Value().AsChaine(), "999");
  // A field that is bound later hides the earlier one.
  ZFieldSet again;
  again.Add("Town", "a");
  again.Bind("Town", ZVariantBuffer::Chars(town, sizeof(town)));
  EXPECT_EQ(again["Town"].Value().AsChaine(), "Namur");
  EXPECT_EQ(again["TOWN"].Value().AsChaine(), "Namur");
}

TEST(Characters, TextIsCutBetweenThem) {
  const struct {
    std::string_view text;
    size_t most, size;
  } kCases[] = {{"abc", 9, 3},
                {"abc", 2, 2},
                {"aé", 2, 1},
                {"aé", 3, 3},
                {"€", 2, 0},
                {"\U0001F600", 3, 0},
                // Not UTF-8.
                {"\x80\x80\x80\x80\x80\x80", 5, 5}};
  for (const auto& c : kCases) EXPECT_EQ(SizeOfWholeCharacters(c.text, c.most), c.size) << c.text;
}

TEST(Clusters, TheirWidthInATerminal) {
  const struct {
    const char* text;
    size_t clusters, width;
  } kCases[] = {
      {"", 0, 0},
      {"aé€", 3, 3},
      {"e\u0301a\u0308\u0323", 2, 2},
      {"\u0301", 1, 0},
      {"漢字かナ", 4, 8},
      {"한국 \u1112\u1161\u11AB", 4, 7},
      {"ＡＢ ｱｲ", 5, 7},
      {"\U00020000", 1, 2},
      {"ไทยที่", 4, 4},
      {"\U0001F600", 1, 2},
      // A skin tone, a family, a flag, half a flag, a heart drawn as text and as an emoji.
      {"\U0001F44D\U0001F3FD", 1, 2},
      {"\U0001F468\u200D\U0001F469\u200D\U0001F467", 1, 2},
      {"\U0001F1EB\U0001F1F7", 1, 2},
      {"\U0001F1EB", 1, 1},
      {"\u2764 \u2764\uFE0F", 3, 4},
      {"a\xFF\xC3z", 4, 4},
  };
  for (const auto& c : kCases) {
    size_t clusters = 0;
    for (std::string_view rest = c.text; !rest.empty(); clusters++) TakeCluster(&rest);
    EXPECT_EQ(clusters, c.clusters) << c.text;
    EXPECT_EQ(DisplayWidth(c.text), c.width) << c.text;
  }
}

TEST(LetterCase, CapitalsOfSeveralAlphabets) {
  const struct {
    const char *text, *folded, *file_name;
  } kCases[] = {
      {"AZ[@ÀÖ×ØÞŒŸŽ", "az[@àö×øþœÿž", "az[@àö×øþœÿž"},
      {"ΆΩΣς ЁЖЯ €\U0001F600", "άωσσ ёжя €\U0001F600", "άωσσ ёжя €\U0001F600"},
      // Letters that become several letters.
      {"Straße STRASSE \u1E9E", "strasse strasse ss", "strasse strasse ss"},
      {"\uFB01n \u0130", "fin i\u0307", "fin i\u0307"},
      // Armenian, Georgian, Cherokee, Deseret, full width.
      {"\u0531\u1C90\uAB70\U00010400\uFF21", "\u0561\u10D0\u13A0\U00010428\uFF41",
       "\u0561\u10D0\u13A0\U00010428\uFF41"},
      // An accent as a separate character, and a Hangul syllable as separate letters.
      {"E\u0301 \u1112\u1161\u11AB", "e\u0301 \u1112\u1161\u11AB", "\u00E9 \uD55C"},
      {"", "", ""},
      {"\xC3", "\xC3", "\xC3"},
      {"\xC3Z\xFFÉ", "\xC3z\xFFé", "\xC3z\xFFé"},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(FoldCase(c.text), c.folded) << c.text;
    EXPECT_EQ(FoldFileName(c.text), c.file_name) << c.text;
  }
  EXPECT_TRUE(SameIgnoringASCIICase("aB1", "Ab1"));
  EXPECT_FALSE(SameIgnoringASCIICase("é", "É"));
  EXPECT_FALSE(SameIgnoringASCIICase("a", "ab"));
}

std::string Lines(const ZIniFileSection& section) {
  std::string lines;
  for (size_t i = 0; i < section.GetNamedLinesNB(); i++) {
    lines += section.GetLineName(i).ToString() + "=" + section.NamedLine(section.GetLineName(i)).ToString() + "|";
  }
  return lines;
}

TEST(IniFile, LinesAreReadExactly) {
  const struct {
    std::string text;
    const char* lines;  // of the section "s"
  } kCases[] = {
      {"[s]\nb=2\na=1\n", "b=2|a=1|"},
      {"[s]\r\n a b \t=\t c d \r\r\ne=f", "a b=c d|e=f|"},
      {"x=0\n[s]\na=1\n[t]\na=2\n[s]\nb=3", "a=1|b=3|"},
      {"[S]\na=1\n[ s ]\nA=1\na=2", "A=1|a=2|"},
      {"[s]\n;a=1\n  ; b=2\nc=3;4\n;", "c=3;4|"},
      {"[s]\n#a=#\nf[0].g[1]=R.x\n[k]=v\n[k] x=[y]", "#a=#|f[0].g[1]=R.x|[k]=v|[k] x=[y]|"},
      {"[s]\na=b=c\n=x\nalone\nd=\n\"q\"=\"r\"", "a=b=c|d=|\"q\"=\"r\"|"},
      {"[s]\na=1\nb=2\na=3", "a=3|b=2|"},
      {"[s] ; note\na=1\n[t\nb=2", "a=1|"},
      {"\xEF\xBB\xBF[s]\né=\xC3\xA8", "é=è|"},
      {std::string(kUTF8Mark) + "\xFF\xFE[\0s\0]\0\n\0\xE9\0=\0x\0"s, "é=x|"},
      {"[s]\n\xE9=\xE8\x80", "é=è€|"},
      {"\xFF\xFE[\0s\0]\0\n\0\xE9\0=\0x\0"s, "é=x|"},
      {"[s", ""},
      {"", ""},
      {"[s]\n"s + std::string(100'000, 'k') + "=" + std::string(3, 'v'), nullptr},
  };
  for (const auto& c : kCases) {
    ZIniFile file;
    file.FromChaine(c.text);
    if (c.lines == nullptr) {
      EXPECT_EQ(file.Section("s").NamedLine(std::string(100'000, 'k')), "vvv");
    } else {
      EXPECT_EQ(Lines(file.Section("s")), c.lines) << c.text;
    }
    EXPECT_FALSE(file.SectionExist("none"));
  }
  ZIniFile file;
  file.FromChaine("[b]\n[a]\n[b]\n[a]b]\n[]\n");
  // Many byte order marks: a recursion for each would overflow the stack.
  std::string marks;
  for (int i = 0; i < 500'000; i++) marks += kUTF8Mark;
  ZIniFile marked;
  marked.FromChaine(marks + "[s]\na=1");
  EXPECT_EQ(Lines(marked.Section("s")), "a=1|");
  std::string names;
  for (const Chaine& name : file.SectionNames()) names += name.ToString() + "|";
  EXPECT_EQ(names, "b|a|a]b||");
}

TEST(IniFile, AFileThatIsMissingHasAReason) {
  const Chaine path(TempPath("maps.ini"));
  ASSERT_TRUE(StoreFile(path, "[s]\na=1"));
  ZIniFile file;
  ASSERT_TRUE(file.Open(path));
  const ZIniFileSection kept = file.Section("s");
  EXPECT_FALSE(file.Open(path + ".none"));
  EXPECT_FALSE(file.LastError().empty());
  EXPECT_FALSE(file.SectionExist("s"));
  EXPECT_EQ(Lines(kept), "a=1|");
}

TEST(FolderKey, IsDecimal) {
  EXPECT_EQ(CZORKey(UINT64_MAX).AsChaine(), "18446744073709551615");
  EXPECT_EQ(CZORKey(" 12x").Value(), 12u);
  EXPECT_EQ(CZORKey("").Value(), 0u);
}

}  // namespace
}  // namespace zforms
