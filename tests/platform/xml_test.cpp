#include "zforms/platform/xml/xml.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/cpu_time.h"
#include "tests/support/random_text.h"
#include "zforms/platform/files/inet_stream.h"

namespace zforms {
namespace {

using namespace std::string_literals;

Chaine Written(const ZXMLReader& reader, unsigned options = ZXMLOptimizeFOStream::eShortEmpty) {
  Chaine text;
  ZInetChaineOStream target(text);
  ZXMLOptimizeFOStream out(&target, options);
  EXPECT_TRUE(reader.Write(&out, true));
  return text;
}

TEST(XML, ComesThroughUnchanged) {
  const char* const kTexts[] = {
      "<a/>",
      "<a b=\"1\" xml:space=\"preserve\" xmlns:x=\"u\"><x:c/> <d>  </d>\n</a>",
      "<!-- before --><?style x=\"y\"?><!DOCTYPE a [<!ELEMENT a ANY>]>\n<a><!-- - > --><?p?></a>\n<!--after-->\n",
      "<a>one<b>two</b>three<![CDATA[<four>&]]>five<c/> </a>",
      "<v><![CDATA[]]></v>",
      "<v>&amp;&lt;&gt;\"'\t\n&amp;#0;é\xF0\x9F\x98\x80</v>",
      "<v w=\"&amp;&lt;&gt;&quot;'&#9;&#10;&#13; é\">&#13;\n</v>",
      "<v>not UTF-8: \xE9\xFF</v>",
      "<v><!--&#0;--><![CDATA[&#0;]]></v>",
  };
  for (const Chaine text : kTexts) {
    ZXMLReader reader;
    ASSERT_NE(reader.Read(text), nullptr) << text.View() << ": " << reader.LastError();
    EXPECT_EQ(Written(reader), text);
    EXPECT_EQ(Written(ZXMLReader(reader)), text);
  }
}

TEST(XML, ValuesAreTheElementsOwnText) {
  const struct {
    const char* text;
    const char* value;
    const char* changed;  // after the value is set to "N<"
  } kCases[] = {
      {"<v/>", "", "<v>N&lt;</v>"},
      {"<v> \t</v>", " \t", "<v>N&lt;</v>"},
      {"<v>\n <c/>\n</v>", "", "<v>N&lt;\n <c/>\n</v>"},
      {"<v>a<c>b</c>d</v>", "ad", "<v>N&lt;<c>b</c></v>"},
      {"<v><c/>a<![CDATA[b&]]></v>", "ab&", "<v><c/>N&lt;</v>"},
      {"<v><!--x--> </v>", " ", "<v><!--x-->N&lt;</v>"},
  };
  for (const auto& c : kCases) {
    ZXMLReader reader;
    ZXMLElement* root = reader.Read(Chaine(c.text));
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->Value().AsChaine(), c.value) << c.text;
    root->Value() = "N<";
    EXPECT_EQ(Written(reader), c.changed);
  }
}

TEST(XML, Encodings) {
  const std::string utf8 = "<v>é€\U0001F600</v>";
  const std::string with_mark = "\xEF\xBB\xBF" + utf8;
  const auto utf16 = [](const std::u16string& text, bool little, bool mark) {
    std::string bytes;
    for (const char16_t c : (mark ? u"\uFEFF" : u"") + text) {
      const char low = static_cast<char>(c & 255);
      const char high = static_cast<char>(c >> 8);
      bytes += little ? low : high;
      bytes += little ? high : low;
    }
    return bytes;
  };
  const std::u16string wide = u"<v>é€\U0001F600</v>";
  const struct {
    std::string bytes;
    const char* value;
  } kCases[] = {
      {utf8, "é€\U0001F600"},
      {with_mark, "é€\U0001F600"},
      {utf16(wide, true, true), "é€\U0001F600"},
      {utf16(wide, false, true), "é€\U0001F600"},
      {utf16(wide, true, false), "é€\U0001F600"},
      {utf16(u"<?xml version='1.0' encoding='UTF-16'?>" + wide, false, false), "é€\U0001F600"},
      {utf16(u"<v>a\xD800z</v>", true, true), "a\uFFFDz"},
      {"<?xml version='1.0' encoding='ISO-8859-1'?><v>\xE9\xA4</v>", "é¤"},
      {"<?xml version='1.0' encoding = \"Windows-1252\"?><v>\xE9\x80\x9C\x81</v>", "é€œ\u0081"},
      {"<?xml version='1.0' encoding='klingon'?><v>plain</v>", "plain"},
      {"<v>é</v>"s + '\0' + '\0', "é"},
  };
  for (const auto& c : kCases) {
    ZXMLReader reader;
    ASSERT_NE(reader.Read(Chaine(c.bytes)), nullptr) << reader.LastError();
    EXPECT_EQ(reader.Data()->Value().AsChaine(), c.value);
    Chaine text;
    ZInetChaineOStream out(text);
    EXPECT_TRUE(reader.Write(&out, false));
    EXPECT_TRUE(text.View().starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<v>")) << text.View();
  }
  ZXMLReader reader;
  reader.Read(Chaine("<v>\xE9</v>"), ZInetEncodedBuffer::eLatin1);
  EXPECT_EQ(Written(reader), "<v>é</v>");
}

std::string Nested(size_t depth) {
  std::string text;
  for (size_t i = 0; i < depth; i++) text += "<a>";
  for (size_t i = 0; i < depth; i++) text += "</a>";
  return text;
}

TEST(XML, WhatIsNoXMLGivesNoTreeAndAReason) {
  const struct {
    std::string text;
    const char* reason;
  } kCases[] = {
      {"", "no root"},
      {"  \n", "no root"},
      {"<!-- only -->", "no root"},
      {"plain", "no root"},
      {"<a/><b/>", "more than one root"},
      {"<a/>x", "outside"},
      {"x<a/>", "outside"},
      {"<a>\n<b></a>", "line 2, column"},
      {"<a><b>", "line 1"},
      {"<a b=c/>", "line 1, column 6"},
      {"<a>\n\n &#0;</a>", "line 3, column 2"},
      {"<a b='&#x0;'/>", "character that does not exist"},
      {"<a>&#4294967296;</a>", "character that does not exist"},
      {"<a>\n&amp;&foo;</a>", "line 2, column 6: the entity \"&foo;\" is not defined"},
      {"<a b='&eacute;'/>", "line 1, column 7: the entity \"&eacute;\" is not defined"},
      {"<a>\n<b c='1' d='2' c='3'/></a>", "line 2, column 16: a second attribute \"c\" in one element"},
      {"<a>x"s + '\0' + "y</a>", "zero byte"},
      {"<?xml version='1.0' encoding='klingon'?><v>\xE9</v>", "unknown encoding klingon"},
      {"\xFF\xFE<"s, "middle of a character"},
      {Nested(501), "nested too deep"},
      {Nested(100'000), "nested too deep"},
  };
  for (const auto& c : kCases) {
    ZXMLReader reader;
    reader.Create("old");
    EXPECT_EQ(reader.Read(Chaine(c.text)), nullptr) << c.text.substr(0, 100);
    EXPECT_EQ(reader.Data(), nullptr);
    EXPECT_NE(reader.LastError().find(c.reason), std::string::npos) << reader.LastError();
  }
  ZXMLReader reader;
  EXPECT_NE(reader.Read(Chaine(Nested(500))), nullptr);
  EXPECT_NE(reader.Read(Chaine("<a>A & B &co <!--&foo;--><![CDATA[&foo;]]></a>")), nullptr) << reader.LastError();
  EXPECT_EQ(reader.LastError(), "");
}

// Programs may build trees that are deeper than the reader accepts.
TEST(XML, DeepTreesAreCopiedWrittenAndFreed) {
  ZXMLReader reader;
  ZXMLElement* element = &reader.Create("a");
  for (int i = 0; i < 200'000; i++) element = &element->Add("a");
  EXPECT_EQ(Written(ZXMLReader(reader)).size(), 200'000u * 7 + 4);
}

TEST(XML, CharactersThatXMLHasNoPlaceForAreReplacedAndCounted) {
  ZXMLReader reader;
  ZXMLElement& root = reader.Create("v");
  root.Value() = "a\0\v\x1F"s;
  root.SetAttrib("b", "\x01");
  Chaine text;
  ZInetChaineOStream out(text);
  size_t replaced = 0;
  EXPECT_TRUE(reader.Write(&out, true, &replaced));
  EXPECT_EQ(text, "<v b=\"\uFFFD\">a\uFFFD\uFFFD\uFFFD</v>");
  EXPECT_EQ(replaced, 4u);
}

TEST(XML, RawLineEndsAreForAFilter) {
  ZXMLReader reader;
  ASSERT_NE(
      reader.Read(Chaine("<v a='&#13;\r\n&#10;'>&#13;x\r\n<!-- -\r-\r\n--><![CDATA[]]\r>\r\n]]><w>&#13;</w></v>")),
      nullptr);
  const Chaine text = Written(reader, ZXMLOptimizeFOStream::eRawLineEnds | ZXMLOptimizeFOStream::eShortEmpty);
  EXPECT_EQ(text, "<v a=\"&#13;\r\n&#10;\">\rx\r\n<!-- -\n-\n--><![CDATA[]]]]><![CDATA[>\n]]><w/></v>");
  EXPECT_TRUE(Written(reader, 0).View().starts_with("<v a=\"&#13;&#13;&#10;&#10;\">&#13;x&#13;\n<!"));
}

// Compares the scanner with the XML parser. A comment in the text makes the reader use the parser.
TEST(XML, TheShortWayAndTheLongWayGiveTheSameTree) {
  const std::string plain =
      "<?xml version='1.0' standalone=\"yes\"?>\n"
      "<f x:a='1' b = \"a&lt;'&#9;&#xe9;&#x1F600;>\" ><v>t&amp;&quot;&apos;&gt;</v>\r\n <w>\n<u/>&#32;</w >"
      "mixed<e></e >&#13;<long-name_of.element>more than sixteen bytes</long-name_of.element>\n</f>\n";
  std::mt19937 random(7);
  constexpr std::string_view kBytes = "<>/='\"&;#x3 \nab!-?";
  size_t read = 0;
  for (int i = 0; i < 20'000; i++) {
    std::string text = plain;
    if (i != 0) text[random() % text.size()] = kBytes[random() % kBytes.size()];
    if (i % 3 == 1) text.erase(random() % text.size(), random() % 4);
    ZXMLReader plainly;
    ZXMLReader commented;
    const bool is_xml = plainly.Read(Chaine(text)) != nullptr;
    if (is_xml) read++;
    // Skips texts with an open comment, which the added comment would close.
    if (!is_xml && text.find("<!-") != std::string::npos) continue;
    ASSERT_EQ(commented.Read(Chaine(text + "<!---->")) != nullptr, is_xml) << text;
    if (is_xml) {
      const auto whole = [](const ZXMLReader& reader) {
        Chaine written;
        ZInetChaineOStream out(written);
        reader.Write(&out, false);
        return written.ToString();
      };
      ASSERT_EQ(whole(plainly) + "<!---->", whole(commented)) << text;
    }
  }
  EXPECT_GT(read, 4000u);
}

TEST(XML, DocumentsTakeTheirNodesAlong) {
  ZXMLReader first;
  ASSERT_NE(first.Read(Chaine("<a b='1'><c>a text that is shared</c> <d/></a>")), nullptr);
  ZXMLReader second;
  ASSERT_NE(second.Read(Chaine("<x><y>1</y></x>")), nullptr);
  second = std::move(first);
  ZXMLElement& root = *second.Data();
  root.SetAttrib("another", "2");
  EXPECT_TRUE(root.Remove("c"));
  root.Add("e").Value() = "new";
  ASSERT_TRUE(root["d"].FromChaine("<p>1</p>"));
  const ZXMLReader copy(second);
  const Chaine text = Written(second);
  second.Clear();
  EXPECT_EQ(Written(copy), text);
  EXPECT_NE(text.View().find("<a b=\"1\" another=\"2\"> <d><p>1</p></d><e>new</e></a>"), std::string_view::npos);
}

TEST(XML, MarkupInsideAnElement) {
  ZXMLReader reader;
  ZXMLElement& root = reader.Create("r");
  EXPECT_TRUE(root.FromChaine("<?xml version=\"1.0\"?><body><p>a &amp; b</p></body> tail"));
  EXPECT_EQ(root.AsChaine(), "<body><p>a &amp; b</p></body> tail");
  EXPECT_EQ(root["body"]["p"].Value().AsChaine(), "a & b");
  EXPECT_FALSE(root.FromChaine("<body>"));
  EXPECT_FALSE(root.FromChaine(Nested(500)));
  EXPECT_EQ(Written(reader), "<r><body><p>a &amp; b</p></body> tail</r>");
  // An element may be replaced by a part of itself, and may copy an element that contains it.
  root.CopyContentOf(root["body"]);
  EXPECT_EQ(Written(reader), "<r><p>a &amp; b</p></r>");
  root["p"].CopyContentOf(root);
  EXPECT_EQ(Written(reader), "<r><p><p>a &amp; b</p></p></r>");
}

TEST(XML, ChildrenByName) {
  ZXMLReader reader;
  ZXMLElement& root = *reader.Read(Chaine("<r>\n <a/>\n <b/>\n <a x='1'/>\n</r>"));
  EXPECT_EQ(root.Size("a"), 2u);
  EXPECT_EQ(root.Get("a", 1)->Attrib("x").AsChaine(), "1");
  EXPECT_EQ(root.Sub("a", 2), nullptr);
  EXPECT_FALSE(root.Exist("c"));
  EXPECT_FALSE(root.Remove("a", 2));
  EXPECT_TRUE(root.Remove("a", -1));
  EXPECT_EQ(Written(reader), "<r>\n <b/>\n <a x=\"1\"/>\n</r>");
  EXPECT_EQ(&root["b"], root.Sub("b"));
  root["c"].SetAttrib("p", "q", 5);
  root.RemoveAll("b");
  root["a"].RemoveAttrib("x");
  EXPECT_EQ(Written(reader), "<r>\n <a/>\n<c p:q=\"5\"/></r>");
  const ZXMLElement& fixed = root;
  EXPECT_EQ(fixed["none"]["none"].Attrib("x"), ZVariant());
}

// Compares the children with a plain list of them, after calls in any order.
TEST(XML, PlacesAmongManyChildrenAreKept) {
  std::mt19937 random(5);
  ZXMLElement root(Chaine("r"));
  std::vector<std::pair<int, ZXMLElement*>> model;
  const char* const kNames[] = {"a", "b", "c"};
  for (int step = 0; step < 20'000; step++) {
    const int name = static_cast<int>(random() % 3);
    std::vector<ZXMLElement*> same;
    for (const auto& [of, element] : model) {
      if (of == name) same.push_back(element);
    }
    const size_t index = random() % (same.size() + 2);
    ASSERT_EQ(root.Sub(kNames[name], index), index < same.size() ? same[index] : nullptr);
    ASSERT_EQ(root.Size(kNames[name]), same.size());
    if (random() % 40 > model.size() || same.empty()) {
      model.emplace_back(name, &root.Add(kNames[name]));
    } else if (random() % 3 == 0) {
      ZXMLElement* gone = same[random() % same.size()];
      std::erase_if(model, [&](const auto& entry) { return entry.second == gone; });
      root.Remove(*gone);
    }
  }
}

TEST(XML, ManyChildrenTakeTimeInProportion) {
  constexpr size_t kCount = 100'000;
  const CpuTime time;
  ZXMLElement root(Chaine("r"));
  for (size_t i = 0; i < kCount; i++) root.Add(i % 2 == 0 ? "field" : "other").SetAttrib("n", static_cast<int64_t>(i));
  size_t wrong = 0;
  const auto check = [&](size_t i) {
    wrong += root.Get("field", i)->Attrib("n") == ZVariant(int64_t(2 * i)) ? 0u : 1u;
  };
  for (size_t i = 0; i < root.Size("field"); i++) check(i);
  for (size_t i = root.Size("field"); i-- != 0;) check(i);
  EXPECT_EQ(wrong, 0u);
  for (size_t i = 0; i < 1000; i++) EXPECT_FALSE(root.Exist("missing"));
  while (root.Remove("other")) {
  }
  EXPECT_EQ(root.Size("field"), kCount / 2);
  EXPECT_EQ(root.Size("other"), 0u);
  // Searching all children for each of them would take minutes.
  EXPECT_LT(time.Seconds(), 10);
}

void Grow(std::mt19937& random, ZXMLElement* into, int depth) {
  // The letters can form carriage returns, "]]>" and text that looks like markup.
  constexpr std::string_view kLetters = "a<>&\"'\r\n\t ]é;#-";
  for (size_t i = random() % 3; i-- != 0;) into->SetAttrib("k" + std::to_string(i), RandomText(random, kLetters, 12));
  const bool leaf = depth == 0 || random() % 3 == 0;
  if (leaf && random() % 4 != 0) into->Value() = RandomText(random, kLetters, 40);
  for (size_t i = leaf ? 0 : random() % 8; i-- != 0;)
    Grow(random, &into->Add("n" + std::to_string(random() % 3)), depth - 1);
}

bool SameTree(const ZXMLElement& a, const ZXMLElement& b) {
  if (a.Name() != b.Name() || a.Value().AsChaine() != b.Value().AsChaine()) return false;
  if (a.Attribs().size() != b.Attribs().size()) return false;
  for (const auto& attribute : a.Attribs()) {
    if (b.Attrib(attribute.name).AsChaine() != attribute.value.AsChaine()) return false;
  }
  const ZXMLElement* x = a.FirstChild();
  const ZXMLElement* y = b.FirstChild();
  for (; x != nullptr && y != nullptr; x = x->NextSibling(), y = y->NextSibling()) {
    if (!SameTree(*x, *y)) return false;
  }
  return x == y;
}

TEST(XML, RandomTreesAreReadAsTheyWereBuilt) {
  std::mt19937 random(7);
  for (int i = 0; i < 200; i++) {
    ZXMLReader built;
    Grow(random, &built.Create("root"), 4);
    for (const unsigned options : {0u, unsigned{ZXMLOptimizeFOStream::eShortEmpty}}) {
      ZXMLReader read;
      const Chaine text = Written(built, options);
      ASSERT_NE(read.Read(text), nullptr) << read.LastError();
      ASSERT_TRUE(SameTree(*built.Data(), *read.Data())) << text.View();
      ASSERT_EQ(Written(read, options), text);
    }
  }
}

}  // namespace
}  // namespace zforms
