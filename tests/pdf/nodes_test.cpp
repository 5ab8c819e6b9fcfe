#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/dump.h"
#include "zforms/pdf/forward_reader.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/node.h"
#include "zforms/pdf/object_provider.h"
#include "zforms/platform/base/diagnostics.h"

namespace zforms {
namespace {

using namespace std::string_view_literals;

class Objects : public IPDFObjectProvider {
 public:
  ZPDFNodeIndirectObject* GetObject(const ZPDFObjectIdentifier& id) override {
    const auto found = objects_.find(id);
    return found == objects_.end() ? nullptr : found->second.get();
  }
  ZPDFNodeIndirectObject* Add(const std::string& text) {
    ZPDFTokenizedString tokens{Chaine(text)};
    auto* object = ZPDFNodeIndirectObject::BuildFrom(tokens, this, nullptr);
    objects_[object->GetID()].reset(object);
    return object;
  }

 private:
  std::map<ZPDFObjectIdentifier, std::unique_ptr<ZPDFNodeIndirectObject>> objects_;
};

template <class Node>
Node& As(ZPDFNode* node) {
  return *NodeCast<Node>(node);
}
template <class Node>
Node& As(const NodePtr& node) {
  return *NodeCast<Node>(node.get());
}

TEST(NodesTest, OneObjectIsTakenFromTheEnd) {
  const struct {
    std::string_view text, dump, rest;
  } kCases[] = {
      {"7 12 0 R", "12.0R", "7"},
      {"3 12", "12", "3"},
      {"/Type", "/Type", ""},
      {"/Type/Page % c", "/Page", "/Type"},
      {"true", "!true", ""},
      {"x false", "!false", "x"},
      {"null", "null", ""},
      {"1 abc", "'abc'", "1"},
      {"5.", "'5.'", ""},
      {"-.5", "-.5", ""},
      {"", "none", ""},
      {" % nothing\n%", "none", ""},
      // Keywords are recognized only as whole tokens.
      {"/Untrue", "/Untrue", ""},
      {"/true", "/true", ""},
      {"/A/null", "/null", "/A"},
      {"untrue", "'untrue'", ""},
      {"<</V /true/AS /null/T true>>", "{/V /true; /AS /null; /T !true}", ""},
      {"/Oui#2FNon", "/Oui/Non", ""},
      // Strings keep all characters between their delimiters.
      {"1 (50% )", "(50% )", "1"},
      {"(a%b)", "(a%b)", ""},
      {"[( x ) (\n%)]", "[( x ) (\\0A%)]", ""},
      {"(a\\)b)", "(a)b)", ""},
      {"(a(b)c)", "(a(b)c)", ""},
      {"(a\\053b)", "(a+b)", ""},
      {"x(abc)", "(abc)", "x"},
      {"<41 4\n2\t4>", "<AB@>", ""},
      {"<>", "<>", ""},
      {"<</A<</B[1 2 0 R(x)]>>/C<4>>>", "{/A {/B [1 2.0R (x)]}; /C <@>}", ""},
      {"<</A 1/A 2>>", "{/A 1; /A 2}", ""},
      {"<</Length 3>>stream\r\nabc\r\nendstream", "{/Length 3}stream(abc)", ""},
      // Damaged.
      {"<<5>>", "{- 5}", ""},
      {"<</A>>", "{/A null}", ""},
      {"[ { ]", "['{']", ""},
      {"<< /A ] >>", "{- ['<<' /A]}", ""},
      {"[5 R]", "[null]", ""},
      {"R", "null", ""},
      {"))", "())", ""},
      {"abc)", "(abc)", ""},
      {"41>", "<A>", ""},
      {"1 2]", "[1 2]", ""},
      {"/A 1>>", "{/A 1}", ""},
      {"[1 <<", "'<<'", "[1"},
      {"1 endstream", "'endstream'", "1"},
      {"<</A endstream", "'endstream'", "<</A"},
      {"[<<>>stream endstream]", "[{} 'stream' 'endstream']", ""},
      {"[/ 5]", "[/ 5]", ""},
  };
  for (const auto& [text, dump, rest] : kCases) {
    ZPDFTokenizedString tokens{Chaine(text)};
    const NodePtr node(ZPDFNode::BuildFrom(tokens, nullptr, ZPDFEncrypterNeutral::Default()));
    EXPECT_EQ(Dump(node.get()), dump) << text;
    EXPECT_EQ(tokens.View(), rest) << text;
    EXPECT_FALSE(node != nullptr && node->IsModified()) << text;
  }
}

TEST(NodesTest, Layout) {
  const std::pair<std::string_view, std::string_view> kCases[] = {
      {"<< /Type /Page /K 5>>", "<<\n/Type/Page\n/K 5\n>>"},
      {"<<>>", "<<>>"},
      {"[]", "[]"},
      {"[ 1 /A ( b ) <4> << /B null >> 5 0 R true ]", "[1/A( b )<40><<\n/B null\n>>5 0 R true ]"},
      {"007", "007"},
      {"[/ 5 / /B/]", "[/ 5//B/ ]"},
      {"<</ 5>>", "<<\n/ 5\n>>"},
      {"/a#28#29#3C#3E#5B#5D#7B#7D#25#5C#2F#80#00b", "/a#28#29#3C#3E#5B#5D#7B#7D#25#5C#2F#80#00b"},
      {"(\\e\\200)", "(e\x80)"},
      {"<</Length 4>>stream\nabc\nendstream", "<<\n/Length 4\n>>stream\r\nabc\nendstream"},
      {"<</Length 0>>stream\n\nendstream", "<<\n/Length 0\n>>stream\r\n\r\nendstream"},
      {"<</Length stream2>>stream\n\nendstream", "<<\n/Length 0\n>>stream\r\n\r\nendstream"},
      {"<</Length 2stream>>stream\nab\nendstream", "<<\n/Length 2\n>>stream\r\nab\r\nendstream"},
  };
  for (const auto& [text, written] : kCases) EXPECT_EQ(Written(*Parse(text)), written) << text;
  EXPECT_EQ(Written(ZPDFNodeDictionary()), "<<>>");
  // A node that writes no text must not remove the text after it.
  ZPDFNodeArray blanks;
  blanks.AppendIdentifier("");
  blanks.AppendValue(new ZPDFNodeNumeric());
  blanks.AppendValue(static_cast<ZPDFNode*>(nullptr));
  blanks.AppendIdentifier("/Yes/AA<</S>>");
  EXPECT_EQ(Written(blanks), "[null 0 null/Yes#2FAA#3C#3C#2FS#3E#3E ]");
}

TEST(NodesTest, LiteralCodec) {
  const std::pair<std::string_view, std::string_view> kDecode[] = {
      {"a\\053b", "a+b"},
      {"\\0a", "\0a"sv},
      {"x\\", "x"},
      {"a\\qb", "aqb"},
      {"ab\r", "ab\n"},
      {"a\r\nb", "a\rb"},
      {"a\rb", "a\rb"},
      {"a\r\r\n", "a\r\r"},
      {"\\n\\r\\t\\b\\f", "\n\r\t\b\f"},
      {"\\(\\)\\\\", "()\\"},
      {"a\\\nb", "ab"},
      {"a\\\rb", "ab"},
      {"a\\\r\nb", "ab"},
      {"a\\\r", "a"},
      {"a\\\r\n", "a"},
      {"\\400\\377\\1", "\0\xFF\x01"sv},
      {"\\1234", "S4"},
      {"\\58",
       "\x05"
       "8"},
      {"\\8", "8"},
      {"\\\\053", "\\053"},
      {"a\\\\\r", "a\\\n"},
      {"", ""},
  };
  for (const auto& [text, value] : kDecode) EXPECT_EQ(ZPDFNodeLiteralString::Decode(text), value) << text;
  EXPECT_EQ(ZPDFNodeLiteralString::Encode("a(b)c\\"), "a\\(b\\)c\\\\");
  EXPECT_EQ(ZPDFNodeLiteralString::Encode("\b\t\n\f\r\x01\xC8\x7F"), "\\b\\t\\n\\f\\r\x01\xC8\x7F");
}

TEST(NodesTest, HexAndNameCodecs) {
  const std::pair<std::string_view, std::string_view> kHex[] = {
      {"4", "@"}, {"41 42", "A\0 "sv}, {"aFxx4x", "\xAF\0\x04"sv}, {"", ""}, {"414", "A@"},
  };
  for (const auto& [text, value] : kHex) EXPECT_EQ(ZPDFNodeHexaString::Decode(text), value) << text;
  EXPECT_EQ(ZPDFNodeHexaString::Encode("\xAB\0z"sv), "AB007A");

  EXPECT_EQ(ZPDFNodeIdentifier::Encode("/A B#"), "/A#20B#23");
  EXPECT_EQ(ZPDFNodeIdentifier::Encode("/(\x7F\xE9~!"), "/(#7F#E9~!");
  const std::pair<std::string_view, std::string_view> kNames[] = {
      {"/A#20B", "/A B"},
      {"/#2341", "/A"},
      {"/#23#32#33",
       "/\0"
       "23"sv},
      {"/#", "/\0"sv},
      {"/#4", "/\x04"},
      {"/#zz#41", "/\0A"sv},
      {"/#e9#E9", "/\xE9\xE9"},
      {"/a#41b#41", "/aAbA"},
      {"/#x1#y#x1", "/\0\0"sv},
  };
  for (const auto& [text, value] : kNames) EXPECT_EQ(ZPDFNodeIdentifier::Decode(text), value) << text;
  // Long names are decoded in one pass, with the same result as repeated passes give.
  std::string text = "/", value = "/";
  for (int i = 0; i < 30000; i++) {
    text += i % 3 == 0 ? "#232341" : "#41z";
    value += i % 3 == 0 ? "A" : "Az";
  }
  EXPECT_EQ(ZPDFNodeIdentifier::Decode(text), value);
}

TEST(NodesTest, Numbers) {
  const NodePtr read = Parse("007");
  auto& number = As<ZPDFNodeNumeric>(read);
  number.SetValue(7);
  EXPECT_EQ(Written(number), "7");
  EXPECT_TRUE(number.IsModified());
  number.SetModified(false, false);
  number.SetValue(7);
  number.SetValue(7u);
  number.SetValue(7.0);
  EXPECT_FALSE(number.IsModified());
  EXPECT_EQ(Written(ZPDFNodeNumeric(-12)) + Written(ZPDFNodeNumeric(4294967295u)), "-124294967295");
  EXPECT_EQ(Written(ZPDFNodeNumeric(0.0)) + Written(ZPDFNodeNumeric(-0.25)), "0.0-0.25");
  EXPECT_EQ(Written(ZPDFNodeNumeric(1e21)), "1" + std::string(21, '0'));
  EXPECT_TRUE(ZPDFNodeNumeric(0).IsModified() && ZPDFNodeNumeric(0.0).IsModified() && ZPDFNodeNumeric(0u).IsModified());
  const NodePtr real = Parse("12.7");
  EXPECT_EQ(real->GetIntValue(), 12);
  EXPECT_EQ(real->GetDoubleValue(), 12.7);
  EXPECT_EQ(Parse("-1")->GetUIntValue(), 4294967295u);
  EXPECT_EQ(Parse("99999999999999999999")->GetIntValue(), 2147483647);
  EXPECT_EQ(Parse("5.")->GetIntValue() + Parse("5.")->GetDoubleValue(), 10);
}

TEST(NodesTest, GettersOfTheWrongKindAreEmpty) {
  for (const char* text :
       {"[1]", "<</A 1>>", "/N", "null", "true", "(s)", "<</Length 0>>stream\n\nendstream", "9 0 R"}) {
    const NodePtr node = Parse(text);
    EXPECT_EQ(node->GetIntValue(), 0) << text;
    EXPECT_EQ(node->GetUIntValue(), 0u) << text;
    EXPECT_EQ(node->GetDoubleValue(), 0) << text;
    EXPECT_EQ(node->GetBoolValue(), text == "true"sv) << text;
    EXPECT_EQ(node->GetStringValue(), text == "(s)"sv ? "s" : "") << text;
  }
  const NodePtr node = Parse("<</A 1>>");
  const auto& dictionary = As<ZPDFNodeDictionary>(node);
  EXPECT_EQ(dictionary.GetIntValue("/B"), 0);
  EXPECT_EQ(dictionary.GetStringValue("/A"), "");
  EXPECT_EQ(dictionary.GetIdentifier("/A"), "");
  EXPECT_EQ(dictionary.GetTarget("/B"), nullptr);
}

// The first three numbers of an array, read from its text and from its nodes.
TEST(NodesTest, NumbersOfArrays) {
  using Numbers = std::array<double, 3>;
  const struct {
    const char* text;
    size_t size;
    Numbers numbers;
  } cases[] = {
      {"[1 -2.5 +.5 9]", 4, {1, -2.5, 0.5}},
      {"[ 7/Name\n8 ]", 3, {7, 0, 8}},
      {"[]", 0, {}},
      {"[1(2)3]", 3, {1, 0, 3}},
      {"[3 0 R 4]", 2, {0, 4, 0}},
      {"5", 0, {}},
      {"/R", 0, {}},
      {"3 0 R", 0, {}},
  };
  for (const auto& [text, size, numbers] : cases) {
    const NodePtr node = Parse(std::string("<</A ") + text + ">>");
    const auto& dictionary = As<ZPDFNodeDictionary>(node);
    for (int i = 0; i < 2; i++) {
      Numbers read{};
      EXPECT_EQ(dictionary.GetNumbers("/A", read), size) << text;
      EXPECT_EQ(read, numbers) << text;
      dictionary.GetDirect("/A");
    }
    EXPECT_EQ(dictionary.GetNumbers("/B", {}), 0u);
  }
}

// The dump of a parsed dictionary after a change, with "*" when it counts as modified.
TEST(NodesTest, DictionaryChanges) {
  Objects objects;
  objects.Add("8 0 obj (abc) endobj");
  objects.Add("9 0 obj null endobj");
  using Dico = ZPDFNodeDictionary;
  const struct {
    std::string_view text;
    void (*change)(Dico&);
    std::string_view after;
  } kCases[] = {
      {"<</V(abc)>>", [](Dico& d) { d.SetValue("/V", "abc"); }, "{/V (abc)}"},
      {"<</V(abd)/W 1>>", [](Dico& d) { d.SetValue("/V", "abc"); }, "{/V (abc); /W 1}*"},
      {"<</V<61>>>", [](Dico& d) { d.SetValue("/V", "b"); }, "{/V <b>}*"},
      {"<</V 8 0 R>>", [](Dico& d) { d.SetValue("/V", "abc"); }, "{/V 8.0R}"},
      {"<</V 8 0 R>>", [](Dico& d) { d.SetValue("/V", "x"); }, "{/V (x)}*"},
      {"<</V 8 0 R>>", [](Dico& d) { d.SetIdentifier("/V", ""); }, "{/V ''}*"},
      {"<</V 9 0 R>>", [](Dico& d) { d.SetIdentifier("/V", "null"); }, "{/V 'null'}*"},
      {"<</V null>>", [](Dico& d) { d.SetIdentifier("/V", "/N"); }, "{/V /N}*"},
      {"<</V true>>", [](Dico& d) { d.SetIdentifier("/V", "true"); }, "{/V 'true'}*"},
      {"<</V/N>>", [](Dico& d) { d.SetIdentifier("/V", "/M"); }, "{/V /M}*"},
      {"<</V/N>>", [](Dico& d) { d.SetValue("/V", false); }, "{/V !false}*"},
      {"<</V true>>", [](Dico& d) { d.SetValue("/V", true); }, "{/V !true}"},
      {"<</V 007>>", [](Dico& d) { d.SetValue("/V", 7); }, "{/V 007}"},
      {"<</V(7)>>", [](Dico& d) { d.SetValue("/V", 0); }, "{/V 0}*"},
      {"<</V 2>>", [](Dico& d) { d.SetValue("/V", 2.5); }, "{/V 2.5}*"},
      {"<</A 1/V 2/V 3>>", [](Dico& d) { d.SetValue("/V", 5u); }, "{/A 1; /V 5; /V 3}*"},
      {"<</A 1>>", [](Dico& d) { d.SetValue("/New", 1); }, "{/A 1; /New 1}*"},
      {"<</A 1>>", [](Dico& d) { d.SetValue("/A", ZPDFNodeNull::Default()); }, "{/A null}*"},
      {"<</A null>>", [](Dico& d) { d.SetValue("/A", d.GetDirect("/A")); }, "{/A null}"},
      {"<<>>", [](Dico& d) { d.SetValue("/A", ZPDFNodeNull::Default()); }, "{/A null}*"},
      {"<</A 1>>", [](Dico& d) { d.SetValue("/A", static_cast<ZPDFNode*>(nullptr)); }, "{}*"},
      {"<</A 1/B 2>>", [](Dico& d) { d.RemoveValue("/C"); }, "{/A 1; /B 2}"},
      {"<</A 1/B 2/A 3>>", [](Dico& d) { d.RemoveValue("/A"); }, "{/B 2}*"},
      {"<</Key#20that#20is#20not#20short 1/Key#20that#20is#20not#20short 3>>",
       [](Dico& d) { d.RemoveValue(As<ZPDFNodeDictionaryEntry>(d.GetDirectAt(d.Size() - 1)).Key()); }, "{}*"},
      {"<</A[1]>>", [](Dico& d) { As<ZPDFNodeArray>(d.GetDirect("/A")).AppendValue(ZPDFNodeNull::Default()); },
       "{/A [1 null]}*"},
      {"<</A<</B[<</C 1>>]>>>>",
       [](Dico& d) {
         auto& inner = As<Dico>(As<Dico>(d.GetDirect("/A")).GetDirect("/B")->GetDirectAt(0));
         inner.SetValue("/C", 2);
       },
       "{/A {/B [{/C 2}]}}*"},
      {"<</A 1>>", [](Dico& d) { As<ZPDFNodeDictionaryEntry>(d.GetDirectAt(d.Size() - 1)).SetValue(nullptr); },
       "{/A null}*"},
  };
  for (const auto& [text, change, after] : kCases) {
    // With 60 more keys the dictionary uses an index; the result is the same.
    for (const size_t more : {0u, 60u}) {
      std::string padded(text);
      for (size_t i = 0; i < more; i++) padded.insert(2, "/Pad" + std::to_string(i) + " 0");
      const NodePtr node = Parse(padded);
      node->SetObjectProvider(&objects);
      auto& dictionary = As<Dico>(node);
      for (size_t i = 0; i < more; i++) ASSERT_TRUE(dictionary.Exist("/Pad" + std::to_string(i)));
      change(dictionary);
      const bool modified = dictionary.IsModified();
      for (size_t i = 0; i < more; i++) dictionary.RemoveValue("/Pad" + std::to_string(i));
      EXPECT_EQ(Dump(node.get()) + (modified ? "*" : ""), after) << padded;
      dictionary.SetModified(false, true);
      EXPECT_FALSE(dictionary.IsModified());
    }
  }
  EXPECT_EQ(Dump(objects.GetObject({8, 0})->GetDirectAt(0)), "(abc)");
  EXPECT_FALSE(objects.GetObject({8, 0})->IsModified());
  EXPECT_EQ(ZPDFNodeNull::Default()->GetIdentifier(), "null");
  EXPECT_FALSE(ZPDFNodeNull::Default()->IsModified());
}

TEST(NodesTest, CopiesAreDeepAndAssignmentsShallow) {
  const NodePtr source = Parse("<</A[1(x)null]/B 2>>");
  source->GetDirectAt(1)->SetModified(true, false);
  const NodePtr copy(source->Clone());
  EXPECT_TRUE(copy->IsModified());
  As<ZPDFNodeDictionary>(copy).SetValue("/B", 3);
  As<ZPDFNodeDictionary>(copy).RemoveValue("/A");
  EXPECT_EQ(Dump(source.get()) + Dump(copy.get()), "{/A [1 (x) null]; /B 2}{/B 3}");

  // Dictionaries find all their entries after any sequence of changes, copies and assignments to each other.
  std::mt19937 random(3);
  std::vector<ZPDFNodeDictionary> nodes(6);
  for (int step = 0; step < 1000; step++) {
    auto& node = nodes[random() % nodes.size()];
    const std::string key = "/K" + std::to_string(random() % 40);
    switch (random() % 5) {
      case 0: node = nodes[random() % nodes.size()]; break;
      case 1: node.RemoveValue(key); break;
      case 2: node = ZPDFNodeDictionary(node); break;
      default: node.SetValue(key, step); break;
    }
    for (auto& other : nodes) {
      for (size_t i = 0; i < other.Size(); i++) {
        const auto& entry = As<ZPDFNodeDictionaryEntry>(other.GetDirectAt(i));
        ASSERT_EQ(other.GetDirect(entry.Key()), entry.Value());
      }
      ASSERT_FALSE(other.Exist("/K"));
    }
  }
}

// Tests dictionaries that are searched linearly, and others that use an index.
TEST(NodesTest, KeysAreFoundAfterEveryChange) {
  for (const int count : {3, 24, 25, 40}) {
    ZPDFNodeDictionary dictionary;
    for (int i = 0; i < count; i++) dictionary.SetValue("/K" + std::to_string(i), i);
    ASSERT_TRUE(dictionary.Exist("/K2"));
    auto& entry = As<ZPDFNodeDictionaryEntry>(dictionary.GetDirectAt(1));
    As<ZPDFNodeIdentifier>(entry.GetDirectAt(0)).SetIdentifier("/New");
    dictionary.SetValue("/New", 7);
    EXPECT_EQ(dictionary.Size(), static_cast<size_t>(count));
    EXPECT_FALSE(dictionary.Exist("/K1"));

    ZPDFNodeDictionary searched;
    for (int i = 0; i < 50; i++) searched.SetValue("/S" + std::to_string(i), i);
    ASSERT_TRUE(searched.Exist("/S49"));
    {
      const NodePtr parsed = Parse(Written(dictionary));
      static_cast<ZPDFNode&>(searched) = *parsed;
    }
    EXPECT_EQ(searched.GetIntValue("/New"), 7) << count;
    EXPECT_FALSE(searched.Exist("/S49"));
  }
}

// The keys of a dictionary that was read stay in the text of the document; keys that are set later do not.
TEST(NodesTest, KeysThatWereReadAndKeysSetLater) {
  ZPDFTokenizedString tokens{Chaine("<</A 1/B#20C(x)/LongerThanSixteenBytes[1 2]/D<</E 3>>>>")};
  tokens.SetDocument();
  const NodePtr read(ReadForward(tokens, nullptr, nullptr));
  auto& dictionary = As<ZPDFNodeDictionary>(read);
  std::vector<std::pair<std::string, int>> model = {{"/A", 1}, {"/B C", 0}, {"/LongerThanSixteenBytes", 0}, {"/D", 0}};
  std::mt19937 random(5);
  for (int step = 1; step <= 2000; step++) {
    const std::string key = random() % 8 == 0 ? "/B C" : "/A name of " + std::to_string(random() % 20);
    const auto known = std::find_if(model.begin(), model.end(), [&](const auto& entry) { return entry.first == key; });
    if (random() % 2 == 0) {
      dictionary.RemoveValue(key);
      if (known != model.end()) model.erase(known);
    } else {
      dictionary.SetValue(key, step);
      if (known == model.end()) {
        model.emplace_back(key, step);
      } else {
        known->second = step;
      }
    }
    const ZPDFNodeDictionary copy(dictionary);
    ASSERT_EQ(copy.Size(), model.size());
    for (size_t i = 0; i < model.size(); i++) {
      ASSERT_EQ(copy.KeyAt(i), model[i].first);
      ASSERT_EQ(dictionary.GetIntValue(model[i].first), model[i].second);
    }
    ASSERT_EQ(Written(copy), Written(dictionary));
  }
}

TEST(NodesTest, References) {
  Objects objects;
  objects.Add("1 0 obj 2 0 R endobj");
  objects.Add("2 0 obj 3 1 R endobj");
  objects.Add("3 1 obj (end) endobj");
  objects.Add("4 0 obj 5 0 R endobj");
  objects.Add("5 0 obj [4 0 R 5 0 R 1 0 R 99 0 R] endobj");
  objects.Add("6 0 obj 6 0 R endobj");
  objects.Add("7 0 obj endobj");
  const auto target = [&objects](uint32_t number) {
    return Dump(ZPDFNodeIndirectReference({number, 0}, &objects).GetTarget());
  };
  EXPECT_EQ(target(1), "(end)");
  EXPECT_EQ(target(3) + target(6) + target(7) + target(99), "nullnullnullnull");
  EXPECT_EQ(ZPDFNodeIndirectReference({1, 0}, &objects).GetStringValue(), "end");

  ZPDFObjectMap map;
  ZPDFNodeIndirectReference({4, 0}, &objects).GetReferencedObjects(map);
  std::string found;
  for (const auto& [id, object] : map) found += std::to_string(id.Number()) + (object->GetID() == id ? " " : "! ");
  EXPECT_EQ(found, "1 2 3 4 5 ");

  Objects others;
  others.Add("1 0 obj /Other endobj");
  ZPDFNodeIndirectReference reference({1, 0}, &objects);
  EXPECT_EQ(Dump(reference.GetTarget()), "(end)");
  reference.SetObjectProvider(&others);
  EXPECT_EQ(Dump(reference.GetTarget()), "/Other");
}

TEST(NodesTest, IndirectObjects) {
  const struct {
    std::string_view text, dump, rest, warning;
  } kCases[] = {
      {"12 3 obj<</A 1>>endobj 13", "12.3 {/A 1}", "13", ""},
      {" %c\n1 0 obj % x\n5 endobj", "1.0 5", "", ""},
      {"1 0 obj\n(a) (b) endobj", "1.0 (a)", "(b) endobj", "\"endobj\" is missing"},
      {"1 0 obj endobj", "1.0", "", ""},
      {"1 0 obj<</A 1%)\n/B %>>\n2>>endobj", "1.0 {/A 1; /B 2}", "", ""},
      {"1 0 obj <</A 1>>\n2 0 obj 3 endobj", "1.0 {/A 1}", "2 0 obj 3 endobj", "\"endobj\" is missing"},
      {"1 0 obj 7\n2 0 obj 3 endobj", "1.0 7", "obj 3 endobj", "\"endobj\" is missing"},
      {"1 0 obj", "1.0", "", "\"endobj\" is missing"},
      {"", "0.0", "", "\"endobj\" is missing"},
      {"1 0 obj<</Length 3>>stream\r\nabc\r\nendstream endobj x", "1.0 {/Length 3}stream(abc)", "x", ""},
      {"1 0 obj<</Length 3>>stream\rabc\nendstream\nendobj", "1.0 {/Length 3}stream(abc)", "", ""},
      {"1 0 obj<</Length 1>>stream\nabc\nendstream endobj", "1.0 {/Length 3}stream(abc)", "", "\"endstream\""},
  };
  for (const auto& [text, dump, rest, warning] : kCases) {
    Objects objects;
    ZDiagnostics diagnostics;
    ZPDFTokenizedString tokens{Chaine(text)};
    tokens.SetDiagnostics(&diagnostics);
    const NodePtr node(ZPDFNodeIndirectObject::BuildFrom(tokens, &objects, nullptr));
    const auto id = As<ZPDFNodeIndirectObject>(node).GetID();
    std::string found = std::to_string(id.Number()) + "." + std::to_string(id.Generation());
    if (node->Size() > 0) found += " " + Dump(node->GetDirectAt(0));
    EXPECT_EQ(found, dump) << text;
    EXPECT_EQ(tokens.View(), rest) << text;
    const auto& warnings = diagnostics.Warnings();
    EXPECT_EQ(warnings.Size() > 0, !warning.empty()) << text;
    if (warnings.Size() > 0) {
      EXPECT_TRUE(warnings[0].text.View().starts_with(warning)) << warnings[0].text.View();
    }
    EXPECT_FALSE(node->IsModified()) << text;
  }
  ZPDFNodeIndirectObject object(nullptr, {12, 0}, nullptr);
  EXPECT_EQ(Written(object), "12 0 obj\nendobj");
  object.SetChild(Parse("<</Type/Page>>").release());
  EXPECT_EQ(Written(object), "12 0 obj\n<<\n/Type/Page\n>>\nendobj");
  object.SetModified(false, true);
  object.SetChild(ZPDFNodeNull::Default());
  EXPECT_TRUE(object.IsModified());
  EXPECT_EQ(Written(object), "12 0 obj\nnull\nendobj");
  const NodePtr reference(object.AllocReference());
  EXPECT_EQ(Dump(reference.get()), "12.0R");
}

TEST(NodesTest, StreamsCountTheirData) {
  ZPDFNodeStream stream(Chaine("four"));
  stream.SetModified(false, true);
  stream.SetData("seven\n\r");
  EXPECT_TRUE(stream.IsModified());
  EXPECT_EQ(Written(stream), "<<\n/Length 7\n>>stream\r\nseven\n\rendstream");
}

}  // namespace
}  // namespace zforms
