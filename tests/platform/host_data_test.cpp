// The host's own data: values over its buffers, field sets, INI files.

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>
#include <string>

#include "tests/support/temp_path.h"
#include "zforms/platform/data/field_set.h"
#include "zforms/platform/data/folder_key.h"
#include "zforms/platform/data/ini_file.h"
#include "zforms/platform/data/variant.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/platform/text/letter_case.h"

namespace zforms {
namespace {

using namespace std::string_literals;

// What a buffer of that type holds after a value was written to it, and whether it fitted.
template <class Number>
std::string Stored(const ZVariant& value, Number before = Number()) {
  // The place is neither aligned nor alone.
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
  // A host may leave out the zero byte.
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
  // Fields stay where they are.
  const ZField* name = fields.Find("Name");
  for (int i = 0; i < 1000; i++) fields.Add("f" + std::to_string(i), i);
  const ZFieldSet moved = std::move(fields);
  EXPECT_EQ(&moved["Name"], name);
  EXPECT_EQ(moved["F999"].Value().AsChaine(), "999");
  // What is bound later is found in place of what was there.
  ZFieldSet again;
  again.Add("Town", "a");
  again.Bind("Town", ZVariantBuffer::Chars(town, sizeof(town)));
  EXPECT_EQ(again["Town"].Value().AsChaine(), "Namur");
  EXPECT_EQ(again["TOWN"].Value().AsChaine(), "Namur");
}

TEST(LetterCase, CapitalsOfSeveralAlphabets) {
  EXPECT_EQ(FoldCase("AZ[@ÀÖ×ØÞßŒŸŽ"), "az[@àö×øþßœÿž");
  EXPECT_EQ(FoldCase("ΆΩΣς ЁЖЯ İ€\U0001F600"), "άωσσ ёжя İ€\U0001F600");
  EXPECT_EQ(FoldCase("\xC3"), "\xC3");
  EXPECT_EQ(FoldCase("\xC3Z\xFF"), "\xC3z\xFF");
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
